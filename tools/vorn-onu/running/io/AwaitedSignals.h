// Signals that the program waits for itself.
#ifndef VORN_ONU_AWAITED_SIGNALS_H
#define VORN_ONU_AWAITED_SIGNALS_H

#include <pthread.h>
#include <signal.h>

#include <initializer_list>

namespace vorn_onu {

// Blocks them in the calling thread, for signalfd() or sigwaitinfo(): their set. *before, unless it is null, becomes
// the mask until then.
inline sigset_t blockSignals(std::initializer_list<int> signals, sigset_t* before = nullptr) {
    sigset_t awaited;
    sigemptyset(&awaited);
    for (const int one : signals) sigaddset(&awaited, one);
    pthread_sigmask(SIG_BLOCK, &awaited, before);
    return awaited;
}

}  // namespace vorn_onu

#endif
