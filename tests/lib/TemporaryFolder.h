#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace Morvalin {

/// A folder of its own for a test, removed with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder() :
        root(std::filesystem::temp_directory_path() /
             ("morvalinlib \xC3\xA4 " + std::to_string(std::random_device()()))) {
        std::filesystem::create_directory(root);
    }
    ~TemporaryFolder() { std::filesystem::remove_all(root); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path(const std::string& name) const { return (root / name).string(); }

    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(root / name, std::ios::binary) << text;
        return path(name);
    }

    std::string read(const std::string& name) const {
        std::ifstream file(root / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::vector<std::string> lines(const std::string& name) const {
        std::ifstream file(root / name);
        std::vector<std::string> result;
        for (std::string line; std::getline(file, line);)
            result.push_back(line);
        return result;
    }

    /// Names in the folder, in no order.
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(root))
            result.push_back(entry.path().filename().string());
        return result;
    }

private:
    const std::filesystem::path root;
};

} // namespace Morvalin
