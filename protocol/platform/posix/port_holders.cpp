#include "protocol/platform/posix/port_holders.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <sys/sysmacros.h>
#include <system_error>
#include <vector>

namespace protocol::platform {
namespace {

namespace fs = std::filesystem;

// The system's numbers for the users' ends of pseudo-terminals.
constexpr unsigned kFirstPseudoTerminal = 136;
constexpr unsigned kLastPseudoTerminal = 143;

// Processes end and folders go while they are read; what is gone is left out.
template <class Visit>
void visitFolder(const fs::path& folder, const Visit& visit) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        visit(entry->path());
    }
}

bool isNumber(const std::string& text) {
    return text.find_first_not_of("0123456789") == std::string::npos;
}

// Pseudo-terminals of several file systems have the same numbers.
bool isSamePort(const struct stat& one, const struct stat& other) {
    return S_ISCHR(one.st_mode) && one.st_rdev == other.st_rdev &&
           (one.st_dev == other.st_dev || !isPseudoTerminal(one));
}

struct Holding {
    bool isHolder = false;
    bool isTerminal = false; // has the other end of a pseudo-terminal
};

Holding examine(const fs::path& process, const struct stat& node) {
    Holding holding;
    visitFolder(process / "fd", [&](const fs::path& descriptor) {
        std::error_code error;
        const std::string target = fs::read_symlink(descriptor, error).string();
        if (!target.starts_with("/dev/")) {
            return; // asking after files elsewhere may take long
        }
        holding.isTerminal = holding.isTerminal || target.ends_with("/ptmx");
        struct stat opened = {};
        holding.isHolder = holding.isHolder ||
                           (stat(descriptor.c_str(), &opened) == 0 && isSamePort(opened, node));
    });
    return holding;
}

std::string describe(const fs::path& process) {
    std::string name;
    std::ifstream file(process / "comm");
    std::getline(file, name);
    return name + (name.empty() ? "process " : " (process ") + process.filename().string() +
           (name.empty() ? "" : ")");
}

std::string joined(const std::vector<std::string>& texts) {
    std::string result;
    for (const std::string& text : texts) {
        result += (result.empty() ? "" : ", ") + text;
    }
    return result;
}

} // namespace

bool isPseudoTerminal(const struct stat& node) {
    const unsigned kind = major(node.st_rdev);
    return kind >= kFirstPseudoTerminal && kind <= kLastPseudoTerminal;
}

std::string portHolders(const struct stat& node) {
    std::vector<std::string> users;
    std::vector<std::string> terminals;
    visitFolder("/proc", [&](const fs::path& process) {
        if (!isNumber(process.filename().string())) {
            return;
        }
        const Holding holding = examine(process, node);
        if (holding.isHolder) {
            const bool isOwnTerminal = holding.isTerminal && isPseudoTerminal(node);
            (isOwnTerminal ? terminals : users).push_back(describe(process));
        }
    });
    return joined(users.empty() ? terminals : users);
}

} // namespace protocol::platform
