#pragma once

namespace protocol {

struct PortName {
    char text[100];
};

// What devicePortName gives for an index from 0 on, without touching its buffer: the name that a
// caller looks up may well stand there.
PortName formatPortName(int index);

} // namespace protocol
