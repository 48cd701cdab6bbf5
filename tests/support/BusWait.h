// Waiting for what the listener thread does, on the real clock.
#ifndef TESTS_BUS_WAIT_H
#define TESTS_BUS_WAIT_H

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <vector>

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "VirtualOnu.h"

// True as soon as condition() holds; false after five seconds.
template <typename Condition>
bool becomesTrue(Condition&& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    std::mutex mutex;
    std::condition_variable never;
    std::unique_lock<std::mutex> lock(mutex);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        never.wait_for(lock, std::chrono::milliseconds(1));
    }
    return true;
}

inline OMCI_SERVICE_MAP_ENTRY serviceOf(const virtual_onu::BusMessage& message) {
    OMCI_SERVICE_MAP_ENTRY service{};
    if (message.payload.size() == sizeof service) std::memcpy(&service, message.payload.data(), sizeof service);
    return service;
}

#endif
