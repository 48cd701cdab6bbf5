// A daemon with a library of its own, on the virtual ONU of the test: when it ends, the next one knows nothing but what
// the device and the state file hold. Each loads a copy of the library, for one that is loaded twice is the same.
#ifndef TESTS_RESTART_DAEMON_H
#define TESTS_RESTART_DAEMON_H

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "VirtualOnu.h"
#include "hal/ProvisioningRecords.h"
#include "hal/VornHal.h"
#include "src/restart/Files.h"
#include "support/Emulated.h"
#include "support/InternetService.h"

namespace restart_tests {

using virtual_onu::VirtualOnu;

// Releases a library that waits for the gateway's answer, as the listener does that these daemons do not start. Without
// it each message takes the second after which the library goes on.
class GatewayAnswers {
public:
    GatewayAnswers(pthread_mutex_t* lock, pthread_cond_t* answered)
        : thread_([=] {
              while (!over_) {
                  pthread_mutex_lock(lock);
                  pthread_cond_signal(answered);
                  pthread_mutex_unlock(lock);
                  poll(nullptr, 0, 1);
              }
          }) {}
    GatewayAnswers(const GatewayAnswers&) = delete;
    GatewayAnswers& operator=(const GatewayAnswers&) = delete;
    ~GatewayAnswers() {
        over_ = true;
        thread_.join();
    }

private:
    std::atomic<bool> over_{false};
    std::thread thread_;
};

class Daemon {
public:
    explicit Daemon(const ScratchDirectory& folder) {
        static int number = 0;
        const std::string copy = folder.file("libhal-" + std::to_string(++number) + ".so");
        fs::copy_file(fs::canonical(VORN_HAL_LIBRARY), copy);
        library_ = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library_ == nullptr) throw std::runtime_error(dlerror());
        fs::remove(copy);
        const auto factory = symbol<void* (*)()>("_ZN10HALFactory11getInstanceEv");
        const auto create = symbol<VornHal* (*)(void*, int)>("_ZN10HALFactory15CreateHALObjectEi");
        hal_ = create(factory(), 0);
        // The emulator does not follow threads that start after a fork, as each test does: there a message takes its
        // second.
        if (!kEmulated)
            answers_.emplace(symbol<pthread_mutex_t*>("syncOmciRgLock"), symbol<pthread_cond_t*>("syncOmciRgCond"));
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;
    ~Daemon() { kill(); }

    VornHal& hal() { return *hal_; }
    VornHal* operator->() { return hal_; }
    int open(const std::string& path) {
        statePath_ = path;
        return symbol<int (*)(const char*)>("vorn_hal_state_open")(path.c_str());
    }
    int settle() { return symbol<int (*)()>("vorn_hal_state_settle")(); }
    int clean() { return symbol<int (*)()>("vorn_hal_clean_device")(); }

    // The kernel takes its descriptors; its memory is of no use to anybody.
    void kill() {
        if (statePath_.empty()) return;
        std::vector<int> numbers;
        for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code error;
            const std::string target = fs::read_symlink(entry.path(), error).string();
            if (target == fs::absolute(statePath_).string()) numbers.push_back(std::stoi(entry.path().filename()));
        }
        for (const int number : numbers) close(number);
        statePath_.clear();
    }

    template <typename Type>
    Type symbol(const char* name) {
        void* const address = dlsym(library_, name);
        if (address == nullptr) throw std::runtime_error(dlerror());
        return reinterpret_cast<Type>(address);
    }

private:
    void* library_ = nullptr;
    VornHal* hal_ = nullptr;
    std::string statePath_;
    std::optional<GatewayAnswers> answers_;
};

// ---- what a daemon asks for: an internet service, step by step ----

using internet_service::deletion;
using internet_service::kGemPort;
using internet_service::tcont;

inline XGEMConfig gem() {
    return internet_service::gemPort();
}
inline BridgeServiceProvisioning service() {
    BridgeServiceProvisioning record = internet_service::service();
    for (std::uint8_t pbit = 1; pbit < 8; ++pbit) record.pbitMap[pbit] = {65535, 0};
    return record;
}
// Of "sid0".
inline UniDataProvisioning row(bool add) {
    return internet_service::row(2, add);
}

using Work = std::function<void(VornHal&)>;

// Calls an operation with a record of its own, which the HAL may change.
template <typename Argument, typename Record>
auto asks(int (VornHal::*operation)(Argument), const Record& record) {
    return [=](VornHal& hal) {
        Record own = record;
        return (hal.*operation)(&own);
    };
}
inline auto asks(int (VornHal::*operation)(void*, void*), const TContProvisioning& record) {
    return [=](VornHal& hal) {
        TContProvisioning own = record;
        return (hal.*operation)(nullptr, &own);
    };
}
inline auto asksForBridge(std::uint16_t bridgeId, std::uint16_t uniPort = 0) {
    return [=](VornHal& hal) { return hal.vorn_omci_hal_configureBridge(bridgeId, uniPort); };
}

struct Call {
    const char* name;
    Work make;
};

inline const std::vector<Call>& internet() {
    static const std::vector<Call> calls = {
        {"tcont_set", asks(&VornHal::vorn_omci_hal_tcont_set, tcont())},
        {"gemflow_add", asks(&VornHal::vorn_omci_hal_gemflow_add, gem())},
        {"configureBridge", asksForBridge(3)},
        {"configureAniTagRules", asks(&VornHal::vorn_omci_hal_configureAniTagRules, service())},
        {"filter_flow_add", asks(&VornHal::vorn_omci_hal_filter_flow_add, row(true))},
        {"filter_flow_add, away", asks(&VornHal::vorn_omci_hal_filter_flow_add, row(false))},
        {"unsetPbitData", asks(&VornHal::vorn_omci_hal_unsetPbitData, service())},
        {"deprovisionUniSideBridge", asks(&VornHal::vorn_omci_hal_deprovisionUniSideBridge, service())},
        {"deprovisionAniSideBridge", asks(&VornHal::vorn_omci_hal_deprovisionAniSideBridge, service())},
        {"gemflow_del", asks(&VornHal::vorn_omci_hal_gemflow_del, gem())},
        {"tcont_reset", asks(&VornHal::vorn_omci_hal_tcont_reset, tcont())},
    };
    return calls;
}
constexpr std::size_t kProvisioning = 5;  // of the calls above

inline void make(Daemon& daemon, std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) internet()[i].make(daemon.hal());
}

class RestartFixture : public ::testing::Test {
protected:
    void SetUp() override { onu().reset(); }
    static VirtualOnu& onu() { return VirtualOnu::instance(); }
    std::string state() const { return folder_.file("hal.state"); }
    // A new board without a state file.
    void startOver() const {
        onu().reset();
        fs::remove(state());
    }
    // The first life of a daemon on a new board.
    void live(const Work& work) {
        startOver();
        Daemon daemon(folder_);
        ASSERT_EQ(daemon.open(state()), 0);
        work(daemon.hal());
    }
    static void provision(VornHal& hal) {
        for (std::size_t i = 0; i < kProvisioning; ++i) internet()[i].make(hal);
    }
    // The records of another life's file, behind the header with this board's boot id.
    void putRecordsOf(const std::string& file) const {
        constexpr std::size_t kHeader = 64;
        write(state(), contentOf(state()).substr(0, kHeader) + file.substr(kHeader));
    }

    // The log's lines about restarts.
    static std::vector<std::string> said() {
        std::vector<std::string> lines;
        for (const auto& line : onu().traceTexts())
            if (line.find("vorn_hal_") != std::string::npos) lines.push_back(line);
        return lines;
    }
    static bool saidThat(const std::string& part) {
        const auto lines = said();
        return std::any_of(lines.begin(), lines.end(),
                           [&](const auto& line) { return line.find(part) != std::string::npos; });
    }

    const ScratchDirectory folder_;
};

}  // namespace restart_tests

#endif
