#pragma once

#include <memory>

#include <QObject>

#include <morvalingui/Export.h>

namespace Morvalin {

/// Queues calls of one slot of an object, from any thread and also while that object is being
/// destroyed. It is what a panel connects to the signals of a stream: disconnecting does not wait
/// for a slot that is already running, so the slot must not hold the panel itself.
///
///     QueuedSlot update(this, "updateGUI");
///     connections().add(stream->stateChanged.connect([update](const auto&) { update(); }));
///
/// Copies belong together: all of them do nothing once one has been cleared.
class MORVALINGUI_EXPORT QueuedSlot {
public:
    /// `slot` is the name of a slot without arguments that the object's meta-object knows; the text
    /// must outlive all copies.
    QueuedSlot(QObject* receiver, const char* slot);

    /// The receiver's thread calls the slot when it comes to it. Never waits for that thread.
    void operator()() const;

    /// Ends it. The receiver's destructor calls this before anything else; on return no other
    /// thread uses the receiver through this object any more.
    void clear();

private:
    struct Target;
    std::shared_ptr<Target> target;
};

} // namespace Morvalin
