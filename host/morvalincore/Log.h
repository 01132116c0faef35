#pragma once

#include <functional>
#include <string>

#include <morvalincore/Export.h>

namespace Morvalin {

/// The process-wide log of host and plug-ins.
///
/// Every function may be called from any thread and under any lock of a stream; none throws and
/// none calls back into a stream. Callers whose message costs something to build ask isAccepted()
/// first.
class MORVALINCORE_EXPORT Log {
public:
    enum Level : int { Detail = 1, Information = 2, Warning = 3, Error = 4 };

    /// Receives every accepted message, one call at a time, on the thread that logged it. What it
    /// logs itself is dropped, and so is what it throws; it must not call setSink().
    using Sink =
        std::function<void(int level, const std::string& category, const std::string& text)>;

    /// True when messages of this level are passed on: level() or above.
    static bool isAccepted(int level) noexcept;

    /// Passes one message to the sink if its level is accepted.
    static void log(int level, const std::string& category, const std::string& text) noexcept;

    /// Writes one message to standard error as it is written without a sink, whatever its level.
    /// For sinks that take messages elsewhere as well.
    static void print(int level, const std::string& category, const std::string& text) noexcept;

    /// Names the stream for which the calling thread works, until it is destroyed. They nest.
    class MORVALINCORE_EXPORT Source {
    public:
        /// `streamName` must outlive the object and not change meanwhile.
        explicit Source(const std::string& streamName) noexcept;
        ~Source();
        Source(const Source&) = delete;
        Source& operator=(const Source&) = delete;

    private:
        const std::string* const former;
    };

    /// The stream for which the calling thread works, empty when it works for none. For sinks:
    /// whose message it is that they take. The text stays as long as the Source that names it.
    static const std::string& source() noexcept;

    /// The lowest level that is passed on; Information at program start.
    static int level() noexcept;
    static void setLevel(int level) noexcept;

    /// Replaces the sink and returns the one before it. Without a sink (an empty function) messages
    /// go to standard error as "[L] CATEGORY: text", one line each: control characters, line ends
    /// among them, become blanks. On return no call of the old sink is running.
    static Sink setSink(Sink sink);
};

} // namespace Morvalin
