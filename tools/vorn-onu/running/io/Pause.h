// A pause in real time: the sleep functions of the C library belong to the virtual ONU's clock.
#ifndef VORN_ONU_PAUSE_H
#define VORN_ONU_PAUSE_H

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace vorn_onu {

inline void pause(std::chrono::milliseconds length) {
    std::mutex mutex;
    std::condition_variable never;
    std::unique_lock<std::mutex> lock(mutex);
    never.wait_for(lock, length);
}

}  // namespace vorn_onu

#endif
