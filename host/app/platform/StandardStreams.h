#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Morvalin::App {

/// Makes the standard streams safe to write to: a reader that has gone fails the write instead of
/// ending the process, and a stream that was closed when the program started cannot turn into a
/// file that is opened later. First thing in main().
void prepareStandardStreams();

/// The signals that ask the program to end.
std::vector<int> stopSignals();

/// Writes to standard error, past the locks of others that write there. Nothing is written when
/// that would have to wait for a reader.
void writeErrorAtOnce(std::string_view text);

/// Standard output. write() is used by one thread at a time, hurry() by any.
class StandardOutput {
public:
    enum class Result {
        Written,
        ReaderGone, ///< nobody reads any more
        Failed
    };

    StandardOutput();
    ~StandardOutput();
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    /// Writes all of it and waits for the reader as long as it takes. Sets `error` to the system's
    /// words when it fails.
    Result write(std::string_view text, std::string& error);

    /// From now on a reader that takes nothing for a second counts as gone, also for the write that
    /// is waiting now.
    void hurry();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace Morvalin::App
