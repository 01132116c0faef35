#include "window/Workbench.h"

#include <algorithm>
#include <utility>

#include <QTimer>

#include "session/Refusal.h"
#include "session/SavedSettings.h"

namespace Morvalin::App {

namespace {

/// Long enough for a stream that is between two measurements, too short to annoy.
constexpr int settlePatienceMs = 300;

} // namespace

Workbench::Workbench(const PluginLoader& plugins) : loader(plugins), workspace(plugins) {}

Workbench::~Workbench() {
    // Side by side, so that the slowest one decides how long it takes.
    for (const auto& item : items)
        item->remove();
    while (!items.empty()) {
        const auto item = std::move(items.back());
        items.pop_back();
        emit removing(item.get());
    }
}

std::vector<StreamItem*> Workbench::streams() const {
    std::vector<StreamItem*> streams;
    for (const auto& item : items)
        streams.push_back(item.get());
    return streams;
}

StreamItem* Workbench::add(const std::string& algorithmId, std::string& error) {
    try {
        return addItem(workspace.add(algorithmId, {}));
    } catch (const Refusal& refusal) {
        error = refusal.what();
        return nullptr;
    }
}

StreamItem* Workbench::addItem(StreamSession& session) {
    StreamItem* const item =
        items.emplace_back(std::make_unique<StreamItem>(session, loader)).get();
    connect(item, &StreamItem::changed, this, &Workbench::changed);
    connect(item, &StreamItem::settingsRead, this, [this, item] {
        item->session().keep(item->settings());
        emit changed();
    });
    // Queued, because the item is destroyed there.
    connect(
        item, &StreamItem::gone, this, [this, item] { onGone(item); }, Qt::QueuedConnection);
    emit added(item);
    item->askSettings(StreamItem::Asking::WhenIdle);
    emit changed();
    return item;
}

void Workbench::remove(StreamItem& item) {
    item.remove();
}

void Workbench::onGone(StreamItem* item) {
    const auto found = std::find_if(items.begin(), items.end(),
                                    [&](const auto& candidate) { return candidate.get() == item; });
    if (found == items.end())
        return;
    emit removing(item);
    const StreamSession& session = item->session();
    items.erase(found);
    if (isClearing)
        workspace.end(session);
    else
        workspace.remove(session);
    emit changed();
    if (isClearing && items.empty())
        clear();
}

void Workbench::clear() {
    isClearing = !items.empty();
    for (const auto& item : items)
        item->remove();
    if (isClearing)
        return;
    workspace.clear();
    emit cleared();
    emit changed();
}

bool Workbench::open(const std::string& path, const SessionOptions& options,
                     std::vector<std::string>& problems, std::string& error) {
    if (!workspace.load(path, error))
        return false;
    problems = workspace.createAll(options);
    for (const auto& session : workspace.sessions())
        addItem(*session);
    for (const auto& session : workspace.sessions())
        if (const BringUp wanted = bringUpOf(session->block()); wanted.opens)
            session->bringUpLater(wanted.starts);
    emit changed();
    return true;
}

/// Calls `done`, later, when all streams have told their settings or are gone.
void Workbench::askAll(StreamItem::Asking asking, std::function<void()> done) {
    const StreamItem::Ticket ticket(
        nullptr, [this, call = std::move(done)](void*) { QTimer::singleShot(0, this, call); });
    for (const auto& item : items)
        item->askSettings(asking, ticket);
}

void Workbench::settle(std::function<void()> done) {
    const auto once = [call = std::make_shared<std::function<void()>>(std::move(done))] {
        if (const auto pending = std::exchange(*call, nullptr))
            pending();
    };
    askAll(StreamItem::Asking::WhenIdle, once);
    QTimer::singleShot(settlePatienceMs, this, once);
}

bool Workbench::save(const std::string& path) {
    if (std::exchange(isBeingSaved, true))
        return false;
    askAll(StreamItem::Asking::Always, [this, path] { write(path); });
    emit changed();
    return true;
}

void Workbench::write(const std::string& path) {
    isBeingSaved = false;
    std::string error;
    const bool isGood = workspace.save(path, error);
    emit saved(isGood, QString::fromStdString(error));
    emit changed();
}

} // namespace Morvalin::App
