#include "app/gui/WorkspaceDocument.h"

#include <algorithm>
#include <utility>

#include <morvalinlib/Workspace.h>

#include "app/SavedSettings.h"

namespace Morvalin::App {

WorkspaceDocument::WorkspaceDocument() : root(Workspace::rootName) {
    algorithms();
    saved = root;
}

Properties& WorkspaceDocument::algorithms() {
    Properties* const existing = root.subProperties(Workspace::algorithmsName);
    return existing != nullptr ? *existing : root.addSubProperties(Workspace::algorithmsName);
}

bool WorkspaceDocument::load(const std::string& path, std::string& error) {
    Properties loaded;
    if (!Workspace::load(path, loaded, error))
        return false;
    root = std::move(loaded);
    algorithms();
    saved = root;
    file = path;
    return true;
}

bool WorkspaceDocument::save(const std::string& path, std::string& error) {
    if (!Workspace::save(path, root, error))
        return false;
    saved = root;
    file = path;
    return true;
}

Properties& WorkspaceDocument::addBlock(const std::string& algorithmId) {
    return algorithms().addSubProperties(algorithmId);
}

void WorkspaceDocument::removeBlock(const Properties& block) {
    blocks().remove_if([&](const Properties& candidate) { return &candidate == &block; });
}

bool WorkspaceDocument::isModified() const {
    const Properties* const now = root.subProperties(Workspace::algorithmsName);
    const Properties* const then = saved.subProperties(Workspace::algorithmsName);
    return !std::equal(now->children().begin(), now->children().end(), then->children().begin(),
                       then->children().end(), [](const Properties& a, const Properties& b) {
                           return a.name() == b.name() && !differsFrom(b, a);
                       });
}

} // namespace Morvalin::App
