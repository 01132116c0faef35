#include "outputs/FileWriter.h"

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <morvalincore/FilePath.h>

namespace Morvalin::App {

namespace {

namespace fs = std::filesystem;

/// Of texts that wait: minutes of several streams. As much again may be on its way to the file.
constexpr std::size_t waitingLimit = std::size_t{16} << 20;

std::string lastSystemError() {
    return errno == 0 ? "writing failed" : std::generic_category().message(errno);
}

} // namespace

FileWriter::FileWriter(const std::string& role, const std::string& filePath, std::string_view head,
                       Failure onFailure) :
    name(role + " " + filePath),
    path(filePath), failure(std::move(onFailure)) {
    errno = 0;
    file.open(toPath(path), std::ios::binary);
    if (!file)
        throw std::runtime_error(name + ": " + lastSystemError());
    waiting = head;
    thread = std::thread([this] { run(); });
}

FileWriter::~FileWriter() {
    finish();
}

bool FileWriter::put(std::string_view lines) {
    const std::lock_guard lock(mutex);
    if (hasFailed || isEnding)
        return false;
    if (waiting.size() + lines.size() > waitingLimit) {
        ++leftOut;
        return true;
    }
    waiting += lines;
    changed.notify_one();
    return true;
}

bool FileWriter::finish() {
    if (!thread.joinable())
        return !hasFailed && leftOut == 0;
    {
        const std::lock_guard lock(mutex);
        isEnding = true;
        changed.notify_one();
    }
    thread.join();
    errno = 0;
    file.close();
    if (!hasFailed && !file)
        fail(lastSystemError());
    else if (leftOut > 0)
        failure(name + ": " + std::to_string(leftOut) + " frames or events are missing in it");
    return !hasFailed && leftOut == 0;
}

void FileWriter::run() {
    std::string batch;
    std::unique_lock lock(mutex);
    while (true) {
        changed.wait(lock, [this] { return isEnding || !waiting.empty(); });
        if (waiting.empty())
            return;
        std::swap(batch, waiting);
        lock.unlock();
        const bool isWritten = write(batch);
        batch.clear();
        if (!isWritten)
            return;
        lock.lock();
        if (leftOut > 0 && !std::exchange(isSlowTold, true)) {
            lock.unlock();
            failure(name + ": frames are left out, they come faster than they can be written");
            lock.lock();
        }
    }
}

/// What comes in too late for a batch is in the next one, so a flush for each delays nobody.
bool FileWriter::write(const std::string& lines) {
    errno = 0;
    file.write(lines.data(), static_cast<std::streamsize>(lines.size()));
    if (file.flush()) {
        writtenSize += lines.size();
        return true;
    }
    fail(lastSystemError());
    return false;
}

/// Half a line at the end could pass for a whole one, with other numbers.
void FileWriter::fail(const std::string& reason) {
    {
        const std::lock_guard lock(mutex);
        hasFailed = true;
        waiting = std::string();
    }
    file.close();
    std::error_code ignored;
    if (fs::is_regular_file(toPath(path), ignored) &&
        fs::file_size(toPath(path), ignored) > writtenSize)
        fs::resize_file(toPath(path), writtenSize, ignored);
    failure(name + ": stopped, " + reason);
}

} // namespace Morvalin::App
