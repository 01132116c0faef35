#include "session/ToolFiles.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <system_error>

#include <morvalincore/FilePath.h>

#include "session/PluginKeys.h"

namespace Morvalin::App {

namespace {

namespace fs = std::filesystem;

/// Definitions have about a thousand bytes.
constexpr std::uintmax_t largestTool = std::uintmax_t{1} << 20;

bool isFileName(const std::string& text) {
    return !text.empty() && !text.starts_with(PluginKeys::builtIn);
}

/// Calls change(tool, text) for every tool of the block whose path names a file.
template <class Change>
void forEachTool(Properties& block, Change change) {
    for (Properties& list : block.children())
        if (list.name() == PluginKeys::tools)
            for (Properties& tool : list.children())
                if (std::string text; tool.param(PluginKeys::toolPath, text) && isFileName(text))
                    change(tool, text);
}

/// Path below the folder, with "/" on every system; empty when it is elsewhere.
std::string below(const fs::path& folder, const fs::path& path) {
    std::error_code error;
    const fs::path real = fs::weakly_canonical(path.parent_path(), error) / path.filename();
    const std::u8string text = real.lexically_relative(folder).generic_u8string();
    if (error || text.empty() || text.starts_with(u8".."))
        return {};
    return {text.begin(), text.end()};
}

std::string message(std::errc fault) {
    return std::make_error_code(fault).message();
}

std::string contentFault(const fs::path& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    char piece[4096];
    bool isBlank = true;
    while (file && isBlank) {
        file.read(piece, sizeof(piece));
        const char* const end = piece + file.gcount();
        isBlank =
            std::all_of(static_cast<const char*>(piece), end, [](char byte) { return byte == 0; });
    }
    if (!isBlank)
        return {};
    if (file.eof())
        return "holds nothing but zeros";
    return errno == 0 ? "cannot be read" : std::generic_category().message(errno);
}

} // namespace

fs::path folderOf(const std::string& workspaceFile) {
    std::error_code error;
    const fs::path whole = fs::absolute(toPath(workspaceFile), error);
    const fs::path real = fs::weakly_canonical(whole, error);
    return (error ? whole : real).parent_path();
}

std::vector<NamedTool> resolveTools(Properties& block, const fs::path& folder) {
    std::vector<NamedTool> tools;
    forEachTool(block, [&](Properties& tool, const std::string& text) {
        fs::path path = toPath(text);
        if (path.is_relative())
            tool.setParam(PluginKeys::toolPath, toText(path = (folder / path).lexically_normal()));
        tools.push_back({text, path, tool.findParam(PluginKeys::toolPath)->line});
    });
    return tools;
}

void shortenTools(Properties& block, const fs::path& folder) {
    forEachTool(block, [&](Properties& tool, const std::string& text) {
        const std::string relative = below(folder, toPath(text));
        if (isFileName(relative))
            tool.setParam(PluginKeys::toolPath, relative);
    });
}

std::string toolFault(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
        return message(std::errc::no_such_file_or_directory);
    if (fs::is_directory(status))
        return "is a folder";
    if (status.type() == fs::file_type::none)
        return error.message();
    if (!fs::is_regular_file(status))
        return "is not a plain file";
    const std::uintmax_t size = fs::file_size(path, error);
    if (error)
        return error.message();
    if (size == 0)
        return "is empty";
    if (size > largestTool)
        return "is larger than 1 MiB, so it is no tool definition";
    return contentFault(path);
}

} // namespace Morvalin::App
