#include "app/WorkspaceSessions.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <string_view>
#include <utility>

#include <morvalinlib/Workspace.h>

#include "app/Refusal.h"

namespace Morvalin::App {

namespace {

/// Settings of the algorithm itself, which its stream does not write.
constexpr std::string_view algorithmKeys[] = {"open", "autoOpen", "connect", "start", "autoStart"};

bool isAlgorithmKey(const std::string& key) {
    return std::find(std::begin(algorithmKeys), std::end(algorithmKeys), key) !=
           std::end(algorithmKeys);
}

void copy(const Properties::Parameter& parameter, Properties& target) {
    if (parameter.kind == Properties::ValueKind::Boolean)
        target.setParam(parameter.key, parameter.value == "true");
    else
        target.setParam(parameter.key, parameter.value);
}

/// Replaces the settings of a block by the stream's current ones.
void update(Properties& block, const StreamSession& session) {
    Properties current;
    session.save(current);
    for (const Properties::Parameter& parameter : block.params())
        if (isAlgorithmKey(parameter.key) && !current.hasParam(parameter.key))
            copy(parameter, current);
    for (const auto& [name, value] : block.attributes())
        current.setAttribute(name, value);
    block.copyFrom(current);
}

} // namespace

WorkspaceSessions::WorkspaceSessions(Properties rootBlock) :
    root(std::move(rootBlock)), algorithms(root.subProperties(Workspace::algorithmsName)) {}

void WorkspaceSessions::createAll(const PluginLoader& plugins, const Options& options) {
    for (Properties& block : algorithms->children())
        add(std::make_unique<StreamSession>(plugins, block.name()), options, block);
}

void WorkspaceSessions::createUnderstood(const PluginLoader& plugins, const Options& options) {
    for (Properties& block : algorithms->children()) {
        std::unique_ptr<StreamSession> session;
        try {
            session = std::make_unique<StreamSession>(plugins, block.name());
        } catch (const Refusal& refusal) {
            areAllUnderstood = false;
            printError(std::string("workspace block left out: ") + refusal.what());
            continue;
        }
        add(std::move(session), options, block);
    }
}

void WorkspaceSessions::add(std::unique_ptr<StreamSession> session, const Options& options,
                            Properties& block) {
    session->setLabel(uniqueLabel(session->label()));
    session->configure(block, options);
    created.push_back(std::move(session));
    blocks.push_back(&block);
}

std::string WorkspaceSessions::uniqueLabel(const std::string& name) const {
    const auto isTaken = [this](const std::string& label) {
        return std::any_of(created.begin(), created.end(),
                           [&](const auto& session) { return session->label() == label; });
    };
    std::string label = name;
    for (int number = 2; isTaken(label); ++number)
        label = name + " " + std::to_string(number);
    return label;
}

bool WorkspaceSessions::save(const std::string& path) {
    std::string error;
    try {
        for (std::size_t i = 0; i < created.size(); ++i)
            update(*blocks[i], *created[i]);
        if (Workspace::save(path, root, error))
            return true;
    } catch (const std::exception& exception) {
        error = path + ": " + exception.what();
    }
    printError("the workspace could not be saved: " + error);
    return false;
}

} // namespace Morvalin::App
