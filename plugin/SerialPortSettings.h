#pragma once

namespace Morvalin {

class Properties;

/// Tells the protocol library what the names of serial ports stand for on this machine: one text
/// per name in the block "SerialPorts" of the host's settings. Names without one, and all of them
/// without that block, stand for what they did before.
void assignSerialPorts(const Properties& globalSettings);

} // namespace Morvalin
