#include <morvalinlib/Workspace.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "morvalinlib/platform/DurableFile.h"
#include <morvalincore/FilePath.h>
#include <morvalincore/PropertiesXml.h>
#include <morvalinlib/WorkspaceConversionRegistry.h>

namespace Morvalin {

namespace {

namespace fs = std::filesystem;

/// Reading stops behind this: fromXml() refuses texts of that length by itself.
constexpr std::size_t longestText = std::size_t{16} << 20;

struct WorkspaceError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string readText(const fs::path& path) {
    if (!fs::exists(path))
        throw WorkspaceError("no such file");
    if (fs::is_directory(path))
        throw WorkspaceError("is a folder");
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw WorkspaceError("cannot be opened for reading");
    std::string text;
    char piece[4096];
    do {
        file.read(piece, sizeof(piece));
        text.append(piece, static_cast<std::size_t>(file.gcount()));
    } while (file && text.size() <= longestText);
    if (file.bad())
        throw WorkspaceError("cannot be read");
    return text;
}

Properties parse(const std::string& text) {
    Properties root;
    std::string error;
    if (!fromXml(text, root, error))
        throw WorkspaceError("not a workspace: " + error);
    return root;
}

/// The file that a name stands for, when it can be replaced.
fs::path resolveTarget(const std::string& path) {
    const fs::path target = fs::weakly_canonical(fs::absolute(toPath(path)));
    if (!target.has_filename() || fs::is_directory(target))
        throw WorkspaceError("is a folder");
    if (fs::exists(target) && !fs::is_regular_file(target))
        throw WorkspaceError("is not a plain file");
    if (!fs::is_directory(target.parent_path()))
        throw WorkspaceError("its folder does not exist");
    return target;
}

/// A name in the same folder, so that renaming stays within one file system.
fs::path temporaryBeside(const fs::path& target) {
    std::random_device random;
    fs::path name = target.filename();
    name += "." + std::to_string(random()) + ".tmp";
    return target.parent_path() / name;
}

/// Removes a file at the end of a scope, if it is still there.
struct Removal {
    explicit Removal(const fs::path& file) : path(file) {}
    Removal(const Removal&) = delete;
    Removal& operator=(const Removal&) = delete;
    ~Removal() {
        std::error_code ignored;
        fs::remove(path, ignored);
    }
    const fs::path& path;
};

void replaceFile(const fs::path& target, const fs::path& temporary, const std::string& text) {
    writeNewFile(temporary, text);
    if (fs::exists(target))
        fs::permissions(temporary, fs::status(target).permissions());
    fs::rename(temporary, target);
    syncFolder(target.parent_path());
}

/// Runs an action and turns what it throws into a line about the file.
template <class Action>
bool report(const std::string& path, std::string& error, Action action) {
    try {
        action();
        return true;
    } catch (const std::system_error& exception) {
        error = path + ": " + exception.code().message();
    } catch (const std::exception& exception) {
        error = path + ": " + exception.what();
    } catch (...) {
        error = path + ": unknown error";
    }
    return false;
}

} // namespace

bool Workspace::load(const std::string& path, Properties& root, std::string& error) {
    return report(path, error, [&] {
        Properties read = parse(readText(toPath(path)));
        WorkspaceConversionRegistry::instance().convert(read, path);
        if (read.name() != rootName)
            throw WorkspaceError("not a workspace: its outermost block is named \"" + read.name() +
                                 "\", not \"Workspace\"");
        if (read.subProperties(algorithmsName) == nullptr)
            throw WorkspaceError("not a workspace: it has no block \"Algorithms\"");
        root = std::move(read);
    });
}

bool Workspace::canSave(const std::string& path, std::string& error) {
    return report(path, error, [&] {
        const fs::path temporary = temporaryBeside(resolveTarget(path));
        const Removal removal(temporary);
        writeNewFile(temporary, {});
    });
}

bool Workspace::save(const std::string& path, const Properties& root, std::string& error) {
    return report(path, error, [&] {
        const fs::path target = resolveTarget(path);
        const fs::path temporary = temporaryBeside(target);
        const Removal removal(temporary);
        replaceFile(target, temporary, toXml(root));
    });
}

} // namespace Morvalin
