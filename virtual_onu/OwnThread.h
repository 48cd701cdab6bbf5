// A thread of ours beside the program's own.
#ifndef VIRTUAL_ONU_OWN_THREAD_H
#define VIRTUAL_ONU_OWN_THREAD_H

#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "SignalsBlocked.h"

namespace virtual_onu {

// It takes no signals. Throws std::runtime_error where the system has no thread.
template <typename Work>
std::thread startThread(Work work) {
    const SignalsBlocked blocked;
    try {
        return std::thread(std::move(work));
    } catch (const std::system_error& error) {
        throw std::runtime_error("cannot start a thread: " + error.code().message());
    }
}

}  // namespace virtual_onu

#endif
