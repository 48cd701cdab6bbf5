// Threads of the library: they leave every signal to the daemon's own threads.
#ifndef HAL_BACKGROUND_THREAD_H
#define HAL_BACKGROUND_THREAD_H

#include <pthread.h>
#include <signal.h>

// Starts run(nullptr) in a thread that has all signals blocked from its first instruction on: a daemon that waits for a
// signal with sigwait() would else be killed by one that is delivered here. pthread_create's result; the caller's own
// mask is as it was.
inline int startBackgroundThread(pthread_t* thread, void* (*run)(void*)) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    const bool masked = pthread_sigmask(SIG_SETMASK, &all, &before) == 0;
    const int error = pthread_create(thread, nullptr, run, nullptr);
    if (masked) pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return error;
}

#endif
