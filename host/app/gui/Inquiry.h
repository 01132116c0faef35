#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include <QObject>
#include <QPointer>

#include "app/gui/StreamItem.h"

namespace Morvalin::App {

/// Asks streams for their settings and reports once when all have answered. Deletes itself then.
class Inquiry : public QObject {
    Q_OBJECT

public:
    /// Ends after `patienceMs` in any case; 0: waits as long as it takes. `done` is called later,
    /// never from within the constructor, and not at all when `parent` is destroyed before.
    Inquiry(const std::vector<StreamItem*>& items, StreamItem::Asking asking, int patienceMs,
            std::function<void()> done, QObject* parent);

private:
    void check();
    void finish();

    std::vector<std::pair<QPointer<StreamItem>, std::uint64_t>> expected;
    std::function<void()> report;
};

} // namespace Morvalin::App
