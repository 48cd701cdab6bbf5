#include "commands/EndingSignals.h"

#include <sys/signalfd.h>

#include "running/io/AwaitedSignals.h"

namespace vorn_onu {

int endingSignals() {
    const sigset_t signals = blockSignals({SIGTERM, SIGINT});
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

}  // namespace vorn_onu
