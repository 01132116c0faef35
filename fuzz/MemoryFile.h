#pragma once

#include "fuzz/Input.h"

#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

/// A file without a place on the disk.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view content) : m_descriptor(memfd_create("input", 0)) {
        expect(write(m_descriptor, content.data(), content.size()) ==
                   static_cast<ssize_t>(content.size()),
               "the file can be written");
    }
    ~MemoryFile() { close(m_descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }

private:
    int m_descriptor;
};

} // namespace fuzz
