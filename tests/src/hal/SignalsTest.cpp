// A daemon that handles its signals in one place: it blocks them after start-up and waits for them with sigwait().
#include <signal.h>
#include <unistd.h>

#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "hal/HALFactory.h"
#include "support/OnuFixture.h"
#include "support/Wait.h"

namespace {

class Signals : public OnuFixture {};

// A thread of the library that took the signal would end the process here.
TEST_F(Signals, ReachTheDaemonAndNoneOfTheLibrarysThreads) {
    StdoutCapture quiet;
    ASSERT_EQ(HALFactory::getInstance()->CreateHALObject(0)->vorn_omci_hal_init(), 0);
    ASSERT_NE(VornBrcmHal::createAlarmStatsThread(), 0);
    // A thread that has not begun yet takes no signal either way.
    ASSERT_TRUE(becomesTrue([] { return !traced("cmsMsg_send").empty() && !traced("select(1000 ms)").empty(); }));
    sigset_t waited, before, now;
    sigemptyset(&waited);
    for (const int number : {SIGTERM, SIGHUP, SIGUSR1}) sigaddset(&waited, number);
    pthread_sigmask(SIG_BLOCK, &waited, &before);
    for (const int number : {SIGTERM, SIGHUP, SIGUSR1}) {
        ASSERT_EQ(kill(getpid(), number), 0);
        int got = 0;
        ASSERT_EQ(sigwait(&waited, &got), 0);
        EXPECT_EQ(got, number);
    }
    pthread_sigmask(SIG_SETMASK, &before, &now);
    EXPECT_EQ(sigismember(&now, SIGINT), 0) << "the daemon's own mask is as it was before the threads were made";
}

}  // namespace
