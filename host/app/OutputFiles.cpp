#include "app/OutputFiles.h"

#include <filesystem>
#include <system_error>

#include <morvalincore/FilePath.h>

#include "session/Refusal.h"

namespace Morvalin::App {

namespace {

namespace fs = std::filesystem;

constexpr const char* saveRole = "--save";

struct NamedFile {
    std::string role;
    std::string path;
};

bool isSameFile(const std::string& one, const std::string& other) {
    std::error_code ignored;
    const fs::path a = toPath(one);
    const fs::path b = toPath(other);
    if (fs::exists(a, ignored) && !fs::is_regular_file(a, ignored))
        return false;
    if (fs::equivalent(a, b, ignored))
        return true;
    const fs::path place = fs::weakly_canonical(fs::absolute(a, ignored), ignored);
    return !place.empty() && place == fs::weakly_canonical(fs::absolute(b, ignored), ignored);
}

void expectApart(const NamedFile& output, const NamedFile& other) {
    if (isSameFile(output.path, other.path))
        throw Refusal(WrongUsage, output.role + " " + output.path + ": would be written over " +
                                      other.role + " " + other.path);
}

std::vector<NamedFile> outputsOf(const Options& options) {
    std::vector<NamedFile> outputs;
    for (const NamedFile& file :
         {NamedFile{saveRole, options.saveFile}, NamedFile{"--trace", options.traceFile},
          NamedFile{"--dump", options.dumpFile}, NamedFile{"--csv", options.csvFile},
          NamedFile{"--record", options.recordFile}})
        if (!file.path.empty())
            outputs.push_back(file);
    return outputs;
}

/// What was recorded cannot be had again.
void expectNew(const NamedFile& output) {
    std::error_code ignored;
    if (!output.path.empty() && fs::is_regular_file(toPath(output.path), ignored))
        throw Refusal(FileRefused, output.role + " " + output.path +
                                       ": is there already; --force writes over it");
}

std::vector<NamedFile> inputsOf(const Options& options, const std::vector<std::string>& tools) {
    std::vector<NamedFile> inputs;
    for (const std::string& plugin : options.plugins)
        inputs.push_back({"the plug-in", plugin});
    for (const Tool& tool : options.tools)
        inputs.push_back({"the tool file", tool.path});
    if (options.command == Command::Play)
        inputs.push_back({"the recording", options.subject});
    for (const std::string& tool : tools)
        inputs.push_back({"the workspace's tool file", tool});
    return inputs;
}

} // namespace

void checkOutputFiles(const Options& options, const std::vector<std::string>& tools) {
    const std::vector<NamedFile> outputs = outputsOf(options);
    const std::vector<NamedFile> inputs = inputsOf(options, tools);
    const bool readsWorkspace =
        options.command == Command::Run || options.command == Command::Window;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j)
            expectApart(outputs[i], outputs[j]);
        for (const NamedFile& input : inputs)
            expectApart(outputs[i], input);
        if (readsWorkspace && !options.subject.empty() && outputs[i].role != saveRole)
            expectApart(outputs[i], {"the workspace", options.subject});
    }
    if (!options.force) {
        expectNew({"--csv", options.csvFile});
        expectNew({"--record", options.recordFile});
    }
}

} // namespace Morvalin::App
