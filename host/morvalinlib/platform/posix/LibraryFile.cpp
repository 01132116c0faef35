// The loader maps a library without comparing its headers with the length of the file, and the
// process ends with a signal at the first page behind the end.

#include "morvalinlib/platform/LibraryFile.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <system_error>

#include <link.h>

namespace Morvalin {

namespace {

using Header = ElfW(Ehdr);
using Segment = ElfW(Phdr);
using Section = ElfW(Shdr);

constexpr unsigned char nativeClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;

class LibraryFile {
public:
    explicit LibraryFile(const std::filesystem::path& path) : stream(path, std::ios::binary) {
        std::error_code error;
        size = std::filesystem::file_size(path, error);
        if (error)
            size = 0;
    }

    template <class Part>
    bool read(std::uint64_t offset, Part& part) {
        stream.seekg(static_cast<std::streamoff>(offset));
        return static_cast<bool>(stream.read(reinterpret_cast<char*>(&part), sizeof(part)));
    }

    bool holds(std::uint64_t offset, std::uint64_t length) const {
        return offset <= size && length <= size - offset;
    }

    /// Whether the entries of a table lie within the file, and what each of them refers to.
    template <class Entry, class Check>
    bool holdsTable(std::uint64_t offset, std::uint64_t count, std::uint64_t entrySize,
                    const Check& isWithin) {
        if (count == 0)
            return true;
        if (entrySize < sizeof(Entry) || !holds(offset, count * entrySize))
            return false;
        for (std::uint64_t i = 0; i < count; ++i) {
            Entry entry;
            if (!read(offset + i * entrySize, entry) || !isWithin(entry))
                return false;
        }
        return true;
    }

private:
    std::ifstream stream;
    std::uint64_t size = 0;
};

/// What is no library of this machine's kind the loader refuses in better words.
bool isNative(const Header& header) {
    return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
           header.e_ident[EI_CLASS] == nativeClass;
}

bool isWhole(LibraryFile& file, const Header& header) {
    return file.holdsTable<Segment>(header.e_phoff, header.e_phnum, header.e_phentsize,
                                    [&](const Segment& segment) {
                                        return file.holds(segment.p_offset, segment.p_filesz);
                                    }) &&
           file.holdsTable<Section>(
               header.e_shoff, header.e_shnum, header.e_shentsize, [&](const Section& section) {
                   return section.sh_type == SHT_NOBITS || section.sh_type == SHT_NULL ||
                          file.holds(section.sh_offset, section.sh_size);
               });
}

} // namespace

std::string libraryFileFault(const std::filesystem::path& path) {
    LibraryFile file(path);
    Header header;
    if (!file.read(0, header) || !isNative(header) || isWhole(file, header))
        return {};
    return "the file ends too early, as after a copy that was interrupted";
}

} // namespace Morvalin
