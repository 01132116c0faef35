#include "app/gui/Inquiry.h"

#include <algorithm>

#include <QTimer>

namespace Morvalin::App {

Inquiry::Inquiry(const std::vector<StreamItem*>& items, StreamItem::Asking asking, int patienceMs,
                 std::function<void()> done, QObject* parent) :
    QObject(parent),
    report(std::move(done)) {
    for (StreamItem* const item : items) {
        expected.emplace_back(item, item->askSettings(asking));
        // Queued: whoever else waits for the answer comes first.
        connect(item, &StreamItem::settingsRead, this, &Inquiry::check, Qt::QueuedConnection);
        connect(item, &QObject::destroyed, this, &Inquiry::check, Qt::QueuedConnection);
    }
    if (patienceMs > 0)
        QTimer::singleShot(patienceMs, this, &Inquiry::finish);
    QTimer::singleShot(0, this, &Inquiry::check);
}

void Inquiry::check() {
    const bool isComplete = std::all_of(expected.begin(), expected.end(), [](const auto& pair) {
        return pair.first.isNull() || pair.first->settingsTicket() >= pair.second;
    });
    if (isComplete)
        finish();
}

void Inquiry::finish() {
    if (!report)
        return;
    deleteLater();
    std::exchange(report, nullptr)();
}

} // namespace Morvalin::App
