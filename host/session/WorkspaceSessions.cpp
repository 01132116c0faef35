#include "session/WorkspaceSessions.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <optional>
#include <utility>

#include <morvalincore/FilePath.h>
#include <morvalinlib/Workspace.h>

#include "session/BlockChecks.h"
#include "session/Refusal.h"
#include "session/SavedSettings.h"
#include "session/ToolFiles.h"

namespace Morvalin::App {

namespace {

constexpr const char* leftOut = "block left out: ";

} // namespace

WorkspaceSessions::WorkspaceSessions(const PluginLoader& loader) : plugins(loader) {
    clear();
}

void WorkspaceSessions::clear() {
    root = Properties(Workspace::rootName);
    root.addSubProperties(Workspace::algorithmsName);
    saved = root;
    file.clear();
    foreign.clear();
}

bool WorkspaceSessions::load(const std::string& path, std::string& error) {
    Properties loaded;
    if (!Workspace::load(path, loaded, error))
        return false;
    root = std::move(loaded);
    saved = root;
    file = path;
    foreign.clear();
    return true;
}

/// Workspaces without the block are refused when they are loaded.
std::list<Properties>& WorkspaceSessions::blocks() {
    return root.subProperties(Workspace::algorithmsName)->children();
}

std::vector<std::string> WorkspaceSessions::createAll(const SessionOptions& options) {
    std::vector<std::string> problems;
    for (Properties& block : blocks())
        if (std::unique_ptr<StreamSession> session = createChecked(block, problems))
            adopt(std::move(session), options);
    saved = root; // whole paths are no change
    return problems;
}

/// Null, with a problem more, when the block cannot be used.
std::unique_ptr<StreamSession>
WorkspaceSessions::createChecked(Properties& block, std::vector<std::string>& problems) {
    std::unique_ptr<StreamSession> session;
    try {
        session = std::make_unique<StreamSession>(plugins, block);
    } catch (const Refusal& refusal) {
        foreign.insert(&block);
        problems.push_back(place(file, block.line()) + leftOut + refusal.what());
        return nullptr;
    }
    const std::vector<NamedTool> tools = resolveTools(block, folderOf(file));
    const std::optional<Misfit> misfit = checkBlock(file, block, tools, session->knownSettings());
    if (!misfit)
        return session;
    problems.push_back(place(file, misfit->line) + leftOut + misfit->fault);
    return nullptr;
}

std::vector<std::string> WorkspaceSessions::toolFiles() const {
    std::vector<std::string> files;
    Properties resolved = *root.subProperties(Workspace::algorithmsName);
    for (Properties& block : resolved.children())
        for (const NamedTool& tool : resolveTools(block, folderOf(file)))
            files.push_back(toText(tool.path));
    return files;
}

StreamSession& WorkspaceSessions::add(const std::string& algorithmId,
                                      const SessionOptions& options) {
    Properties& block = blocks().emplace_back(algorithmId);
    try {
        return adopt(std::make_unique<StreamSession>(plugins, block), options);
    } catch (...) {
        blocks().pop_back();
        throw;
    }
}

StreamSession& WorkspaceSessions::adopt(std::unique_ptr<StreamSession> session,
                                        const SessionOptions& options) {
    session->setLabel(uniqueLabel(session->label()));
    session->configure(options);
    return *created.emplace_back(std::move(session));
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

void WorkspaceSessions::end(const StreamSession& session) {
    std::erase_if(created, [&](const auto& candidate) { return candidate.get() == &session; });
}

void WorkspaceSessions::remove(const StreamSession& session) {
    const Properties* const block = &session.block();
    end(session);
    blocks().remove_if([&](const Properties& candidate) { return &candidate == block; });
}

bool WorkspaceSessions::save(const std::string& path, std::string& error) {
    Properties written = root;
    const std::filesystem::path folder = folderOf(path);
    auto block = blocks().begin();
    for (Properties& copy : written.subProperties(Workspace::algorithmsName)->children())
        if (!foreign.contains(&*block++))
            shortenTools(copy, folder);
    if (!Workspace::save(path, written, error))
        return false;
    saved = root;
    file = path;
    return true;
}

bool WorkspaceSessions::saveCurrent(const std::string& path, std::string& error) {
    try {
        for (const auto& session : created)
            session->keep(session->configuration());
    } catch (const std::exception& exception) {
        error = path + ": " + exception.what();
        return false;
    }
    return save(path, error);
}

bool WorkspaceSessions::isModified() const {
    const auto& now = root.subProperties(Workspace::algorithmsName)->children();
    const auto& then = saved.subProperties(Workspace::algorithmsName)->children();
    return !std::equal(now.begin(), now.end(), then.begin(), then.end(),
                       [](const Properties& a, const Properties& b) {
                           return a.name() == b.name() && !differsFrom(b, a);
                       });
}

} // namespace Morvalin::App
