// Messages of any type, length and content from the gateway, at the listener thread.
#include <fuzzer/FuzzedDataProvider.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "Fuzz.h"

namespace {

constexpr std::uint32_t kTypes[] = {0x10002250, 0x10002251, 0x10002254};
constexpr int kMaxMessages = 8;

// The listener frees every message that it has dealt with.
class Handled {
public:
    void one() {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++count_;
        changed_.notify_all();
    }
    bool waitFor(int count) {
        std::unique_lock<std::mutex> lock(mutex_);
        const bool all = changed_.wait_for(lock, std::chrono::seconds(10), [&] { return count_ >= count; });
        count_ = 0;
        return all;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int count_ = 0;
};
Handled& handled() {
    static Handled& only = *new Handled;
    return only;
}

}  // namespace

int LLVMFuzzerInitialize(int*, char***) {
    silence();
    onu().reset();
    FUZZ_EXPECT(engine().omcid_initCms() == 0);
    // A service that a request may hit only by its 64 bits of key: an answer would cost the listener a second.
    OMCI_SERVICE_MAP_ENTRY known{"veip0", 5, 4000, 0, 1, 0, 7, 1000, 0, 0};
    engine().omciServiceCreateMapEntry(&known);
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    onu().clearTrace();
    onu().onTrace([](const virtual_onu::TraceEntry& entry) {
        if (entry.name == "cmsMem_free") handled().one();
    });
    int sent = 0;
    while (input.remaining_bytes() > 0 && sent < kMaxMessages) {
        const std::uint32_t type =
            input.ConsumeBool() ? input.PickValueInArray(kTypes) : input.ConsumeIntegral<std::uint32_t>();
        const auto payload = input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 200));
        // What the header claims may be less or more than what is given.
        const long claimed = input.ConsumeBool() ? -1 : input.ConsumeIntegralInRange<long>(0, 70000);
        onu().gatewaySends(type, payload, claimed);
        ++sent;
    }
    FUZZ_EXPECT(handled().waitFor(sent));
    onu().onTrace(nullptr);
    FUZZ_EXPECT(engine().omci_service_num_get() == 1);
    return 0;
}
