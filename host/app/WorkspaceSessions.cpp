#include "app/WorkspaceSessions.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <morvalinlib/Workspace.h>

#include "app/Refusal.h"
#include "app/SavedSettings.h"

namespace Morvalin::App {

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
        for (std::size_t i = 0; i < created.size(); ++i) {
            Properties current;
            created[i]->save(current);
            updateBlock(*blocks[i], current);
        }
        if (Workspace::save(path, root, error))
            return true;
    } catch (const std::exception& exception) {
        error = path + ": " + exception.what();
    }
    printError("the workspace could not be saved: " + error);
    return false;
}

} // namespace Morvalin::App
