#pragma once

#include <string>
#include <vector>

#include <morvalincore/Export.h>

namespace Morvalin {

/// Something that reaches devices over serial ports and can tell what is wrong with one. A plug-in
/// that can, derives from this class beside its own base; a host finds out by a dynamic_cast.
class MORVALINCORE_EXPORT SerialPortReport {
public:
    enum class Condition {
        NotThere,
        Forbidden, ///< this user may not open it
        InUse,     ///< another program, or an open stream, has it
        NotSerial, ///< something else is there
        Faulty,    ///< the system refuses it in another way
        Free,
        Silent, ///< free, but no device answers
        Answers ///< free, and a device of the plug-in's kind answers
    };

    struct Port {
        std::string name;
        std::string path; ///< what the name stands for on this machine
        Condition condition = Condition::NotThere;
        std::string words; ///< the condition for people: one line, with what helps
    };

    virtual ~SerialPortReport();

    /// The names of all ports that devices are looked for at, in the order of the search. Those of
    /// a plug-in are known as soon as it is created.
    virtual std::vector<std::string> serialPortNames() const = 0;

    /// Looks at one of these ports now. Only `probes` tells silent ports from others that are free:
    /// it talks to the device, which may reset it, and takes up to ten seconds. Any thread, but no
    /// stream should be opening the port meanwhile.
    virtual Port inspectSerialPort(const std::string& name, bool probes) const = 0;
};

} // namespace Morvalin
