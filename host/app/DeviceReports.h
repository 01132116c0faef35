#pragma once

#include <chrono>
#include <fstream>
#include <mutex>
#include <string>
#include <string_view>

#include <morvalincore/Diagnosable.h>

#include "session/StreamSession.h"

namespace Morvalin::App {

/// The file of --trace: the traffic between streams and their devices, a line for each command,
/// reply or remark, flushed at once, with four columns divided by TABs:
///
///     seconds since the start, name of the stream, ">" or "<" or "-", the text
///
/// Control characters stand as escapes; a command or reply with other bytes that are no text is
/// written as "hex" and digits.
class TraceFile {
public:
    /// Without a path nothing is traced. Throws Refusal when the file cannot be written.
    explicit TraceFile(const std::string& tracePath);

    /// Traces the sessions, which must be closed. The file must outlive their connections.
    void attach(const Sessions& sessions);

    /// False, with a line on standard error, when not everything could be written.
    bool isComplete();

private:
    void write(const std::string& label, Diagnosable::Traffic kind, std::string_view bytes);

    const std::string path;
    std::mutex mutex;
    std::ofstream file;
    std::chrono::steady_clock::time_point start;
};

/// The file of --dump.
class DumpFile {
public:
    /// Without a path nothing is dumped. Throws Refusal when the file cannot be written.
    explicit DumpFile(const std::string& path);

    /// Writes the state of the sessions' devices, or a line that says that there is none. False,
    /// with a line on standard error, when that failed. Only with a path.
    bool write(const Sessions& sessions);

private:
    const std::string path;
    std::ofstream file;
};

} // namespace Morvalin::App
