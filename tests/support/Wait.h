// Waiting for an event, on the real clock.
#ifndef TESTS_WAIT_H
#define TESTS_WAIT_H

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

// Only a hang takes this long, on a busy machine and under a sanitizer too.
constexpr std::chrono::seconds kHang(100);
constexpr int kHangMs = 100 * 1000;

// True as soon as condition() holds; false when it hangs. The virtual ONU answers sleeps at once, so this waits on a
// condition variable.
template <typename Condition>
bool becomesTrue(Condition&& condition) {
    const auto end = std::chrono::steady_clock::now() + kHang;
    std::mutex mutex;
    std::condition_variable unnotified;
    std::unique_lock<std::mutex> lock(mutex);
    for (std::chrono::milliseconds pause(1); !condition(); pause = std::min(2 * pause, std::chrono::milliseconds(16))) {
        if (std::chrono::steady_clock::now() > end) return false;
        unnotified.wait_for(lock, pause);
    }
    return true;
}

#endif
