#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "outputs/RecordedLine.h"

namespace Morvalin::App {

/// A file of lines that jsonFrame and jsonEvent have written, read one by one. Whatever is in the
/// file, the memory that it takes is bounded.
class Recording {
public:
    /// Throws std::runtime_error, with path and reason, when the file cannot be read.
    explicit Recording(const std::string& path);

    /// Nothing at the end. Throws std::runtime_error, with path, number of the line and reason, for
    /// a line that is no part of a recording.
    std::optional<RecordedLine> next();

    /// The last line is not whole, since what wrote it was ended in the middle of it. It is passed
    /// over. At the end only.
    bool isBrokenOff() const { return brokenOff; }
    /// Of the line read last, from 1.
    std::uint64_t lineNumber() const { return number; }

private:
    [[noreturn]] void refuse(const std::string& reason) const;

    const std::string name;
    std::ifstream file;
    std::vector<char> buffer;
    std::uint64_t number = 0;
    bool brokenOff = false;
};

} // namespace Morvalin::App
