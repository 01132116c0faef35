#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <stdlib.h>

namespace Morvalin {

/// A folder that goes away with the test and everything in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "morvalin \xC3\xA4 XXXXXX";
        path = ::mkdtemp(pattern.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(path / name, std::ios::binary) << text;
        return path / name;
    }

    /// Writes a tool definition of `size` bytes with a text at byte 592.
    std::string writeTool(const std::string& name, const std::string& partNumber,
                          std::size_t size = 1024) const {
        std::string image(1024, '\0');
        for (std::size_t i = 0; i < 592; ++i)
            image[i] = static_cast<char>(i * 7);
        image.replace(592, partNumber.size(), partNumber);
        return write(name, image.substr(0, size));
    }

    std::string read(const std::string& name) const {
        std::ifstream file(path / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::filesystem::path path;
};

} // namespace Morvalin
