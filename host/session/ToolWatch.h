#pragma once

#include <vector>

#include <morvalinstream/StreamEvent.h>
#include <morvalinstream/TrackingStreamData.h>

namespace Morvalin::App {

/// Notices instruments that become active or inactive from one frame of a stream to the next. One
/// that was not there before counts as active, since streams set their tools up so; one that is not
/// listed any more is forgotten. One thread.
class ToolWatch {
public:
    /// The changes that this frame shows, without time stamps.
    std::vector<StreamEvent> onFrame(const TrackingStreamData& frame);

private:
    bool wasInactive(const std::string& id) const;

    std::vector<std::string> inactive; ///< ids, mostly none
};

} // namespace Morvalin::App
