#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace Morvalin::App {

/// Writes lines to a file on a thread of its own, each as soon as the ones before it are written,
/// so that nobody who has some waits for the disk.
///
/// What waits to be written takes a bounded amount of memory: texts for which there is no room are
/// left out as a whole. A write that fails is the last one.
class FileWriter {
public:
    /// Takes one line that tells what is wrong, on the thread of the file, or on that which calls
    /// finish().
    using Failure = std::function<void(const std::string& line)>;

    /// Opens the file, empty but for `head`. `role` names it in front of its path in what is told.
    /// Throws std::runtime_error, with role, path and reason, when it cannot be opened.
    FileWriter(const std::string& role, const std::string& path, std::string_view head,
               Failure onFailure);
    ~FileWriter();
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

    /// Takes whole lines that belong together. Any thread, without waiting. False when nothing is
    /// written any more.
    bool put(std::string_view lines);

    /// Returns when everything is written and the file is closed; puts nothing more. True when all
    /// that was put is in the file.
    bool finish();

private:
    void run();
    bool write(const std::string& lines);
    void fail(const std::string& reason);

    const std::string name;
    const std::string path;
    const Failure failure;
    std::ofstream file;             ///< on the thread only, until it has ended
    std::uintmax_t writtenSize = 0; ///< likewise: of whole lines

    std::mutex mutex; ///< of what follows
    std::condition_variable changed;
    std::string waiting;
    std::uint64_t leftOut = 0;
    bool isSlowTold = false;
    bool isEnding = false;
    bool hasFailed = false;
    std::thread thread;
};

} // namespace Morvalin::App
