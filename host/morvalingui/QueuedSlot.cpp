#include <morvalingui/QueuedSlot.h>

#include <mutex>

#include <QMetaObject>

namespace Morvalin {

struct QueuedSlot::Target {
    std::mutex mutex;
    QObject* receiver = nullptr;
    const char* slot = nullptr;
};

QueuedSlot::QueuedSlot(QObject* receiver, const char* slot) : target(std::make_shared<Target>()) {
    target->receiver = receiver;
    target->slot = slot;
}

void QueuedSlot::operator()() const {
    const std::lock_guard<std::mutex> lock(target->mutex);
    if (target->receiver != nullptr)
        QMetaObject::invokeMethod(target->receiver, target->slot, Qt::QueuedConnection);
}

void QueuedSlot::clear() {
    const std::lock_guard<std::mutex> lock(target->mutex);
    target->receiver = nullptr;
}

} // namespace Morvalin
