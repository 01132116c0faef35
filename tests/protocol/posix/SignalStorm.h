#pragma once

#include <atomic>
#include <chrono>
#include <csignal>
#include <pthread.h>
#include <thread>

// While it lives, signals interrupt every system call of the thread that made it: their handler
// does nothing, and nothing is restarted.
class SignalStorm {
public:
    SignalStorm() {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        sigaction(SIGUSR1, &action, nullptr);
        m_thread = std::thread([this, target = pthread_self()] {
            while (!m_stops) {
                pthread_kill(target, SIGUSR1);
                std::this_thread::sleep_for(std::chrono::microseconds(300));
            }
        });
    }

    ~SignalStorm() {
        m_stops = true;
        m_thread.join();
        std::signal(SIGUSR1, SIG_DFL);
    }

private:
    std::atomic<bool> m_stops = false;
    std::thread m_thread;
};
