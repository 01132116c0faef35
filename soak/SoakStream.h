#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace Morvalin {

/// A device family with its simulator and a stream, which is opened, left running under random
/// faults and closed, over and over.
class SoakStream {
public:
    enum class Kind { Vega, Vicra, Aurora };
    struct Settings {
        Kind kind = Kind::Vega;
        std::string name;
        std::uint64_t seed = 1;
        std::filesystem::path folder; ///< for its pseudo-terminal and tool files
        int serialPort = 0;           ///< index of the port name that is the stream's own
    };

    static std::unique_ptr<SoakStream> make(const Settings& settings);
    virtual ~SoakStream() = default;

    /// Opens, streams and closes once, without faults: what is made only once is there afterwards.
    virtual void warmUp() = 0;

    /// Sessions until told to end. On a thread of its own.
    virtual void run(const std::atomic<bool>& mayEnd) = 0;

    /// One line; false when something is wrong with the frames.
    virtual bool report() const = 0;
};

} // namespace Morvalin
