#pragma once

#include <morvalincore/Data.h>

#include <Eigen/Geometry>

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <string_view>

namespace Morvalin {

/// What a reply says of one tool, read from its bytes without the protocol library.
struct SentPose {
    enum State { Valid, Missing, Disabled } state = Valid;
    std::array<double, 8> values{}; ///< q0, qx, qy, qz, tx, ty, tz, error

    Matrix4 matrix() const {
        Eigen::Isometry3d pose = Eigen::Isometry3d::Identity();
        if (state == Valid) {
            pose.linear() = Eigen::Quaterniond(values[0], values[1], values[2], values[3])
                                .normalized()
                                .toRotationMatrix();
            pose.translation() = Eigen::Vector3d(values[4], values[5], values[6]);
        }
        return pose.matrix();
    }
    double quality() const { return state == Valid ? 1 - values[7] / 10 : 0; }
};

using SentPoses = std::map<int, SentPose>; ///< by port handle

template <class T>
T takeBinary(std::string_view& rest) {
    T value{};
    std::memcpy(&value, rest.data(), sizeof value);
    rest.remove_prefix(sizeof value);
    return value;
}

/// Of a BX reply with the options 180F (optical) or 0801, on a little-endian machine.
inline SentPoses posesOfBinary(std::string_view reply, bool isOptical) {
    SentPoses poses;
    reply.remove_prefix(6);
    for (int count = takeBinary<std::uint8_t>(reply); count > 0; --count) {
        SentPose& pose = poses[takeBinary<std::uint8_t>(reply)];
        const int status = takeBinary<std::uint8_t>(reply);
        pose.state = status == 1   ? SentPose::Valid
                     : status == 2 ? SentPose::Missing
                                   : SentPose::Disabled;
        if (status == 4)
            continue;
        for (std::size_t i = 0; status == 1 && i < 8; ++i)
            pose.values[i] = takeBinary<float>(reply);
        reply.remove_prefix(8); // port status, frame number
        if (!isOptical)
            continue;
        reply.remove_prefix(11); // tool and marker information
        if (takeBinary<std::uint8_t>(reply) != 0)
            reply.remove_prefix(12); // single stray
        const std::size_t markers = takeBinary<std::uint8_t>(reply);
        reply.remove_prefix((markers + 7) / 8 + 12 * markers);
    }
    return poses;
}

/// Of a TX reply.
inline SentPoses posesOfText(std::string_view reply) {
    const auto take = [&](std::size_t length) {
        const std::string text(reply.substr(0, length));
        reply.remove_prefix(length);
        return text;
    };
    SentPoses poses;
    for (int count = std::stoi(take(2), nullptr, 16); count > 0; --count) {
        SentPose& pose = poses[std::stoi(take(2), nullptr, 16)];
        if (reply.front() == 'M') {
            pose.state = SentPose::Missing;
        } else if (reply.front() == 'D') {
            pose.state = SentPose::Disabled;
        } else {
            for (std::size_t i = 0; i < 8; ++i)
                pose.values[i] =
                    i < 4 || i == 7 ? std::stoi(take(6)) / 10000.0 : std::stoi(take(7)) / 100.0;
        }
        reply.remove_prefix(reply.find('\n') + 1);
    }
    return poses;
}

} // namespace Morvalin
