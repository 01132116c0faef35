#include "app/OutputSet.h"

#include <stdexcept>

#include "app/Console.h"
#include "session/Refusal.h"

namespace Morvalin::App {

OutputSet::File::File(const char* option, const std::string& path, FrameFormat frameFormat,
                      EventFormat eventFormat, std::string_view head) :
    writer(option, path, head, printError),
    lines(frameFormat, eventFormat, [this](std::string_view text) { return writer.put(text); }) {}

OutputSet::OutputSet(const Options& options) :
    printed(options.json ? jsonFrame : readableFrame, options.events ? jsonEvent : nullptr,
            [this](std::string_view text) {
                return output.write(text, error) == StandardOutput::Result::Written;
            }),
    outputs(printed) {
    add("--csv", options.csvFile, csvFrame, nullptr, csvHeader);
    add("--record", options.recordFile, jsonFrame, jsonEvent, {});
}

void OutputSet::add(const char* option, const std::string& path, FrameFormat frameFormat,
                    EventFormat eventFormat, std::string_view head) {
    if (path.empty())
        return;
    try {
        files.push_back(std::make_unique<File>(option, path, frameFormat, eventFormat, head));
    } catch (const std::runtime_error& failure) {
        throw Refusal(FileRefused, failure.what());
    }
    outputs.add(files.back()->lines);
}

bool OutputSet::finish() {
    bool isGood = error.empty();
    if (!isGood)
        printError("the frames could not be written: " + error);
    for (const auto& file : files)
        isGood = file->writer.finish() && isGood;
    return isGood;
}

} // namespace Morvalin::App
