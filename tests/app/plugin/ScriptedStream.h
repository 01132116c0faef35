#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include <morvalincore/Properties.h>
#include <morvalinstream/TrackingStream.h>

namespace Scripted {

/// Appends a line to the file that the environment variable SCRIPTED_TRACE names, if it does.
void trace(const std::string& line);

/// A tracking stream without a device. Its properties script what it does; every hook leaves a line
/// in the trace.
class ScriptedStream : public Morvalin::TrackingStream {
public:
    ScriptedStream();
    ~ScriptedStream() override;

    std::string uuid() const override { return "ScriptedStream"; }
    void configure(const Morvalin::Properties* properties) override;
    void configuration(Morvalin::Properties* properties) override;

protected:
    bool openImpl() override;
    bool closeImpl() override;
    bool startImpl() override;
    bool stopImpl() override;
    std::optional<WorkContinuation> doWork() override;

private:
    std::string device = "auto"; ///< appears in every trace line
    std::int32_t rate = 1;
    bool canOpen = true;
    bool canStart = true;
    bool isSilent = false;    ///< delivers no frames
    std::string gate;         ///< opening waits until a file of that name exists
    std::int32_t padding = 0; ///< length of the instruments' model number
    std::int32_t maxRange = 0;
    std::atomic<bool> hasBeenOpen = false; ///< read for configurations while it opens
    Morvalin::Properties targets{"TrackingTargets"};
};

} // namespace Scripted
