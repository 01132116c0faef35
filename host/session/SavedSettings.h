#pragma once

#include <morvalincore/Properties.h>

namespace Morvalin::App {

// What a workspace keeps of an algorithm's settings.

/// When the stream of a block is to be brought up by itself, as the block's settings ask:
/// "open" (or else "autoOpen", or else "connect") and "start" (or else "autoStart").
struct BringUp {
    bool opens = false;
    bool starts = false;
};
BringUp bringUpOf(const Properties& block);

/// Replaces the settings of a block by the stream's current ones, except for what the stream does
/// not write at the moment although it was set: the algorithm's own settings, the operating volume
/// of a stream that has not been open yet, and hidden texts that only an open device knows, such as
/// the main instrument.
void updateBlock(Properties& block, const Properties& current);

/// True when somebody who cares would miss the difference. Differences that are not a person's work
/// do not count: how a value is edited, settings that stand in only one of them, and hidden texts
/// that were empty and that the device has filled in.
bool differsFrom(const Properties& saved, const Properties& current);

} // namespace Morvalin::App
