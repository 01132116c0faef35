#include "protocol/port_condition.h"

#include "protocol/platform/posix/port_holders.h"
#include "protocol/platform/posix/port_paths.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <system_error>
#include <unistd.h>

namespace protocol::platform {
namespace {

struct Finding {
    PortCondition condition;
    std::string detail = {};
};

class Descriptor {
public:
    explicit Descriptor(const std::string& path) :
        m_number(open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {}
    ~Descriptor() {
        if (m_number >= 0) {
            close(m_number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return m_number; }

private:
    int m_number;
};

// The group whose members may use the port. Nobody should join the superuser's for that.
std::string groupOf(const struct stat& node) {
    constexpr mode_t kReadWrite = S_IRGRP | S_IWGRP;
    if ((node.st_mode & kReadWrite) != kReadWrite || node.st_gid == 0) {
        return {};
    }
    group entry;
    group* found = nullptr;
    std::array<char, 4096> texts;
    getgrgid_r(node.st_gid, &entry, texts.data(), texts.size(), &found);
    return found == nullptr ? std::to_string(node.st_gid) : found->gr_name;
}

Finding refused(int error, const struct stat& node) {
    switch (error) {
    case EACCES:
    case EPERM:
        return {PortCondition::forbidden, groupOf(node)};
    case EBUSY:
        return {PortCondition::inUse};
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case ENAMETOOLONG:
    case ENXIO:
    case ENODEV:
    case EIO: // what a port without hardware and a pseudo-terminal without its other end say
        return {PortCondition::missing};
    case ENOTTY:
    case EINVAL:
        return {PortCondition::notSerial};
    default:
        return {PortCondition::faulty, std::generic_category().message(error)};
    }
}

// By the locks that openPort takes. The superuser passes the terminal's own and has to ask for it.
bool isClaimed(int descriptor) {
    int isExclusive = 0;
    return (ioctl(descriptor, TIOCGEXCL, &isExclusive) == 0 && isExclusive != 0) ||
           flock(descriptor, LOCK_SH | LOCK_NB) != 0;
}

Finding inspectOpened(const std::string& path, const struct stat& node) {
    const Descriptor port(path);
    if (port.number() < 0 || isatty(port.number()) == 0) {
        return refused(errno, node);
    }
    return {isClaimed(port.number()) ? PortCondition::inUse : PortCondition::free};
}

// As far as the system tells; of its other devices, every program may have some open.
bool isKnownNotSerial(const struct stat& node) {
    const std::string number =
        std::to_string(major(node.st_rdev)) + ":" + std::to_string(minor(node.st_rdev));
    std::error_code error;
    const auto kind =
        std::filesystem::read_symlink("/sys/dev/char/" + number + "/subsystem", error);
    return !error && kind.filename() != "tty";
}

Finding inspectPath(const std::string& path) {
    struct stat node = {};
    if (stat(path.c_str(), &node) != 0) {
        return refused(errno, node);
    }
    if (!S_ISCHR(node.st_mode) || isKnownNotSerial(node)) {
        return {PortCondition::notSerial};
    }
    // Before the port is opened here: a console that shares its port must not notice.
    const std::string holders = portHolders(node);
    if (!holders.empty() && !isPseudoTerminal(node)) {
        return {PortCondition::inUse, holders};
    }
    Finding finding = inspectOpened(path, node);
    if (finding.condition == PortCondition::inUse) {
        finding.detail = holders;
    }
    return finding;
}

} // namespace

PortReport inspectPort(const char* name) {
    PortReport report;
    report.path = portPath(name);
    if (!report.path.empty()) {
        Finding finding = inspectPath(report.path);
        report.condition = finding.condition;
        report.detail = std::move(finding.detail);
    }
    return report;
}

} // namespace protocol::platform
