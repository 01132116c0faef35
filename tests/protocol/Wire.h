#pragma once

#include "simulator/Texts.h"

#include <cstdint>
#include <string>
#include <string_view>

// Binary replies as tests need them, with the simulator's checksum: a mistake of the library must
// not be able to hide behind itself.
namespace wire {

// Little-endian numbers of a binary reply.
inline std::string le16(unsigned value) {
    return {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF)};
}

inline std::string le32(std::uint32_t value) {
    return le16(value & 0xFFFF) + le16(value >> 16);
}

inline std::string floats(std::initializer_list<float> values) {
    std::string bytes;
    for (const float value : values) {
        bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
    }
    return bytes;
}

// A binary reply without its last CRC, as the decoders see it.
inline std::string binaryData(std::string_view body) {
    const std::string header = "\xC4\xA5" + le16(static_cast<unsigned>(body.size()));
    return header + le16(ndisim::crc16(header)) + std::string(body);
}

// A binary reply as the device sends it; its last CRC covers everything before.
inline std::string binary(std::string_view body) {
    const std::string data = binaryData(body);
    return data + le16(ndisim::crc16(data));
}

} // namespace wire
