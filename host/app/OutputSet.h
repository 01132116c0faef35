#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/Options.h"
#include "app/platform/StandardStreams.h"
#include "outputs/FileWriter.h"
#include "outputs/FrameOutputs.h"
#include "outputs/TextOutput.h"

namespace Morvalin::App {

/// Everywhere that frames and events go, as the options want it: standard output, and files beside
/// it, which change nothing for whoever reads there.
class OutputSet {
public:
    /// Opens the files. Throws Refusal when one cannot be.
    explicit OutputSet(const Options& options);

    /// Takes frames as long as standard output does.
    FrameOutput& frames() { return outputs; }

    /// From now on a reader that takes nothing for a second counts as gone. Any thread.
    void hurry() { output.hurry(); }

    /// Before the process ends: no line is cut in the middle if its reader is there. Any thread.
    void stopForGood() { printed.stopForGood(std::chrono::milliseconds(100)); }

    /// Writes what is left. True when every frame was written, to standard output as long as
    /// somebody read; when not, a line has said so. After the last frame.
    bool finish();

private:
    struct File {
        File(const char* option, const std::string& path, FrameFormat frameFormat,
             EventFormat eventFormat, std::string_view head);

        FileWriter writer;
        TextOutput lines;
    };

    void add(const char* option, const std::string& path, FrameFormat frameFormat,
             EventFormat eventFormat, std::string_view head);

    StandardOutput output;
    std::string error;
    TextOutput printed;
    std::vector<std::unique_ptr<File>> files;
    FrameOutputs outputs;
};

} // namespace Morvalin::App
