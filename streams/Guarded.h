#pragma once

#include <mutex>
#include <utility>

#include <boost/thread/lock_guard.hpp>

namespace Morvalin {

/// A value that several threads read and write. Its lock is held for single accesses only and is
/// the last one taken: functions passed to access() must not take another, nor talk to a device.
template <class T>
class Guarded {
public:
    Guarded() = default;
    explicit Guarded(T initial) : content(std::move(initial)) {}

    T value() const {
        const boost::lock_guard<std::mutex> lock(mutex);
        return content;
    }

    void assign(T replacement) {
        access([&](T& held) { held = std::move(replacement); });
    }

    /// What was held before.
    T exchange(T replacement) {
        return access([&](T& held) { return std::exchange(held, std::move(replacement)); });
    }

    template <class Function>
    decltype(auto) access(Function&& function) {
        const boost::lock_guard<std::mutex> lock(mutex);
        return std::forward<Function>(function)(content);
    }

private:
    mutable std::mutex mutex;
    T content{};
};

} // namespace Morvalin
