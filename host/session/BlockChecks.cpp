#include "session/BlockChecks.h"

#include <morvalincore/FilePath.h>
#include <morvalincore/LogText.h>

namespace Morvalin::App {

namespace {

class Checker {
public:
    Checker(const std::string& workspaceFile, const Properties& algorithm,
            const KnownSettings& knownSettings) :
        file(workspaceFile),
        block(algorithm), known(knownSettings) {}

    /// Those of the block and of the items of its lists.
    std::optional<Misfit> checkAll() const {
        std::optional<Misfit> misfit = check(block, {});
        for (const Properties& list : block.children())
            if (known.hasList(list.name()))
                for (const Properties& item : list.children())
                    if (auto found = check(item, list.name()); !misfit)
                        misfit = std::move(found);
        return misfit;
    }

private:
    /// Looks at all, for the warnings, and tells the first misfit.
    std::optional<Misfit> check(const Properties& settings, const std::string& list) const {
        std::optional<Misfit> misfit;
        for (const Properties::Parameter& parameter : settings.params()) {
            const SettingDescription* const setting = known.find(parameter.key, list);
            if (setting == nullptr)
                warn(parameter, list);
            else if (const std::string need = needOf(*setting, parameter.value);
                     !need.empty() && !misfit)
                misfit = Misfit{parameter.key + "=" + parameter.value + ": must be " + need,
                                lineOf(parameter)};
        }
        return misfit;
    }

    void warn(const Properties::Parameter& parameter, const std::string& list) const {
        if (known.isComplete())
            logText(Log::Warning, "Host", place(file, lineOf(parameter)), block.name(),
                    " does not know the property \"", parameter.key, "\"",
                    known.suggestionFor(parameter.key, list));
    }

    /// What a conversion has added has no line of its own.
    int lineOf(const Properties::Parameter& parameter) const {
        return parameter.line > 0 ? parameter.line : block.line();
    }

    const std::string& file;
    const Properties& block;
    const KnownSettings& known;
};

std::optional<Misfit> checkTool(const NamedTool& tool) {
    const std::string fault = toolFault(tool.path);
    if (fault.empty())
        return std::nullopt;
    const std::string path = toText(tool.path);
    const std::string resolved = path == tool.written ? "" : " (" + path + ")";
    return Misfit{"tool file " + tool.written + resolved + ": " + fault, tool.line};
}

} // namespace

std::string place(const std::string& file, int line) {
    return file + ":" + std::to_string(line) + ": ";
}

std::optional<Misfit> checkBlock(const std::string& file, const Properties& block,
                                 const std::vector<NamedTool>& tools, const KnownSettings& known) {
    std::optional<Misfit> misfit = Checker(file, block, known).checkAll();
    for (const NamedTool& tool : tools)
        if (!misfit)
            misfit = checkTool(tool);
    return misfit;
}

} // namespace Morvalin::App
