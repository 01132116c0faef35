#include "app/gui/Workbench.h"

#include <algorithm>
#include <utility>

#include "app/SavedSettings.h"
#include "app/gui/Inquiry.h"

namespace Morvalin::App {

namespace {

/// Long enough for a stream that is between two measurements, too short to annoy.
constexpr int settlePatienceMs = 300;

} // namespace

Workbench::Workbench(const PluginLoader& plugins) : loader(plugins) {}

Workbench::~Workbench() {
    // Side by side, so that the slowest one decides how long it takes.
    for (const Entry& entry : entries)
        entry.item->remove();
    while (!entries.empty()) {
        const Entry entry = std::exchange(entries.back(), {});
        entries.pop_back();
        emit removing(entry.item.get());
    }
}

std::vector<StreamItem*> Workbench::streams() const {
    std::vector<StreamItem*> items;
    for (const Entry& entry : entries)
        items.push_back(entry.item.get());
    return items;
}

StreamItem* Workbench::add(const std::string& algorithmId, std::string& error) {
    auto item = StreamItem::create(loader, algorithmId, error);
    if (!item)
        return nullptr;
    StreamItem* const made = item.get();
    addEntry(std::move(item), document.addBlock(algorithmId), {});
    return made;
}

void Workbench::addEntry(std::unique_ptr<StreamItem> item, Properties& block,
                         const Adjustment& adjust) {
    StreamItem* const made = item.get();
    made->setLabel(uniqueLabel(made->label()));
    Properties settings = block;
    if (adjust)
        adjust(made->label().toStdString(), made->configuration(), settings);
    made->configure(settings);
    made->createPanel(loader);
    connect(made, &StreamItem::changed, this, &Workbench::changed);
    connect(made, &StreamItem::settingsRead, this, [this, made] { takeSettings(made); });
    // Queued, because the item is destroyed there.
    connect(
        made, &StreamItem::gone, this, [this, made] { onGone(made); }, Qt::QueuedConnection);
    entries.push_back({std::move(item), &block});
    emit added(made);
    made->askSettings(StreamItem::Asking::WhenIdle);
    emit changed();
}

QString Workbench::uniqueLabel(const QString& name) const {
    const auto isTaken = [this](const QString& label) {
        return std::any_of(entries.begin(), entries.end(),
                           [&](const Entry& entry) { return entry.item->label() == label; });
    };
    QString label = name;
    for (int number = 2; isTaken(label); ++number)
        label = QStringLiteral("%1 (%2)").arg(name).arg(number);
    return label;
}

void Workbench::remove(StreamItem& item) {
    item.remove();
}

void Workbench::onGone(StreamItem* item) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const Entry& entry) { return entry.item.get() == item; });
    if (found == entries.end())
        return;
    emit removing(item);
    const Entry entry = std::move(*found);
    entries.erase(found);
    if (!isClearing)
        document.removeBlock(*entry.block);
    emit changed();
    if (isClearing && entries.empty())
        clear();
}

void Workbench::clear() {
    isClearing = !entries.empty();
    for (const Entry& entry : entries)
        entry.item->remove();
    if (isClearing)
        return;
    document = WorkspaceDocument();
    emit cleared();
    emit changed();
}

bool Workbench::open(const std::string& path, const Adjustment& adjust,
                     std::vector<std::string>& problems, std::string& error) {
    if (!document.load(path, error))
        return false;
    const std::size_t first = entries.size();
    for (Properties& block : document.blocks()) {
        std::string problem;
        if (auto item = StreamItem::create(loader, block.name(), problem))
            addEntry(std::move(item), block, adjust);
        else
            problems.push_back(problem);
    }
    for (std::size_t i = first; i < entries.size(); ++i)
        bringUp(entries[i]);
    emit changed();
    return true;
}

void Workbench::bringUp(const Entry& entry) {
    const BringUp wanted = bringUpOf(*entry.block);
    if (wanted.opens)
        entry.item->bringUp(wanted.starts);
}

void Workbench::takeSettings(const StreamItem* item) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const Entry& entry) { return entry.item.get() == item; });
    if (found != entries.end())
        updateBlock(*found->block, item->settings());
    emit changed();
}

bool Workbench::isModified() {
    return document.isModified();
}

void Workbench::settle(std::function<void()> done) {
    new Inquiry(streams(), StreamItem::Asking::WhenIdle, settlePatienceMs, std::move(done), this);
}

bool Workbench::save(const std::string& path) {
    if (saving != nullptr)
        return false;
    saving = new Inquiry(
        streams(), StreamItem::Asking::Always, 0, [this, path] { write(path); }, this);
    emit changed();
    return true;
}

void Workbench::write(const std::string& path) {
    saving = nullptr;
    std::string error;
    const bool isGood = document.save(path, error);
    emit saved(isGood, QString::fromStdString(error));
    emit changed();
}

} // namespace Morvalin::App
