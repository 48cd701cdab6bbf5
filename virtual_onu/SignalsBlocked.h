// Blocks every signal in the calling thread while it lives. Threads that are started meanwhile inherit the mask, so a
// signal goes to the program's own threads and never to a helper of ours.
#ifndef VIRTUAL_ONU_SIGNALS_BLOCKED_H
#define VIRTUAL_ONU_SIGNALS_BLOCKED_H

#include <pthread.h>
#include <signal.h>

namespace virtual_onu {

class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_;
};

}  // namespace virtual_onu

#endif
