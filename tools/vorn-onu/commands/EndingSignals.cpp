#include "commands/EndingSignals.h"

#include <sys/signalfd.h>

#include <csignal>

namespace vorn_onu {

int endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

}  // namespace vorn_onu
