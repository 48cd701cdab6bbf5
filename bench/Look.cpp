// How long looking at a board that runs holds up the threads that call the device: the longest time for which one look
// keeps a lock of the virtual ONU, in processor time of the looking thread, with 64 services and a long trace. All
// locks of the process pass through here, since this program interposes the C library.
#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "Service.h"
#include "VirtualOnu.h"
#include "living/Session.h"

namespace {

using MutexFunction = int (*)(pthread_mutex_t*);

template <int Which>
MutexFunction real(const char* name) {
    static const auto found = reinterpret_cast<MutexFunction>(dlsym(RTLD_NEXT, name));
    return found;
}

std::int64_t nowNs() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
}

struct Held {
    int depth = 0;  // locks within one another count as the outer one
    std::int64_t since = 0, longest = 0;
};
thread_local Held held;
thread_local bool measures = false;

constexpr unsigned kServices = 64;
constexpr std::uint64_t kTraced = 200000;  // calls: as many as are kept
constexpr int kLooks = 50;

struct Look {
    const char* name;
    vorn_onu::Json request;
};

void print(const Look& look, std::vector<std::int64_t> longest, std::int64_t whole) {
    std::sort(longest.begin(), longest.end());
    std::printf("| %s | %.3f ms | %.3f ms | %.2f ms |\n", look.name, static_cast<double>(longest[kLooks / 2]) / 1e6,
                static_cast<double>(longest.back()) / 1e6, static_cast<double>(whole) / kLooks / 1e6);
}

}  // namespace

extern "C" {
__attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* mutex) {
    const int result = real<0>("pthread_mutex_lock")(mutex);
    if (measures && held.depth++ == 0) held.since = nowNs();
    return result;
}
__attribute__((visibility("default"))) int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    if (measures && --held.depth == 0) held.longest = std::max(held.longest, nowNs() - held.since);
    return real<1>("pthread_mutex_unlock")(mutex);
}
}

int main() {
    FILE* shown = fdopen(dup(1), "w");
    if (shown == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    for (unsigned n = 1; n <= kServices; ++n) Service(n).provision();
    VornHal& hal = *HALFactory::getInstance()->CreateHALObject(0);
    while (onu.traced() < kTraced) hal.vorn_omci_hal_configureBridge(1, 0);  // what is there is left as it is
    std::fflush(stdout);
    stdout = shown;
    vorn_onu::living::Session session(onu, nullptr);
    const Look looks[] = {{"show", {{"do", "show"}}},
                          {"show, with the failed calls", {{"do", "show"}, {"trace", "failed"}}},
                          {"show, with 200,000 calls", {{"do", "show"}, {"trace", "all"}}},
                          {"counters", {{"do", "counters"}}},
                          {"news for those who listen", {{"do", "news"}, {"after", 190000}, {"most", 10000}}},
                          {"board step", {{"do", "step"}, {"step", {{"board", {{"links", {{"sid5", "down"}}}}}}}}},
                          {"frame step", {{"do", "step"}, {"step", {{"frame", {{"from", "sid3"}}}}}}},
                          {"mark step", {{"do", "step"}, {"step", {{"mark", "now"}}}}}};
    std::printf("| look | longest lock, median | longest lock, most | the whole look |\n| --- | --- | --- | --- |\n");
    for (const Look& look : looks) {
        std::vector<std::int64_t> longest;
        std::int64_t whole = 0;
        for (int i = 0; i < kLooks; ++i) {
            held = {};
            measures = true;
            const std::int64_t begin = nowNs();
            const std::string reply = session.answer(look.request);
            whole += nowNs() - begin;
            measures = false;
            longest.push_back(held.longest);
            if (reply.compare(0, 10, "{\"ok\":true") != 0 && reply.find("\"ok\":true") == std::string::npos) return 1;
        }
        print(look, longest, whole);
    }
    std::fflush(stdout);
    _exit(0);
}
