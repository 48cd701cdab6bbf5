// What services cost beside the HAL: planning a message with few and with many services, and the share of agent and
// services in provisioning on the virtual ONU.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <vector>

#include "OmciRequest.h"
#include "VirtualOnu.h"
#include "hal/HALFactory.h"
#include "hal/VornHal.h"
#include "omci/agent/Agent.h"
#include "omci/services/Services.h"

namespace {

using namespace omci;
using Clock_ = std::chrono::steady_clock;

constexpr InstanceId kTCont = 0x8000;
constexpr InstanceId kVeip = 0x0601;
constexpr std::uint16_t kNull = 0xFFFF;

// Passes calls on and adds up their time.
class Stopwatch : public services::Performer {
public:
    explicit Stopwatch(VornHal& hal) : inner_(hal) {}
    int perform(const services::HalCall& call) override {
        const auto start = Clock_::now();
        const int result = inner_.perform(call);
        spent += Clock_::now() - start;
        ++calls;
        return result;
    }
    std::string hostMac() override { return "02:00:00:00:00:01"; }

    Clock_::duration spent{};
    std::uint64_t calls = 0;

private:
    services::HalPerformer inner_;
};

Board bigBoard() {
    Board board;
    board.taggingRows = 256;
    return board;
}

// Numbers one behind the other, each with its size.
Bytes values(std::initializer_list<std::pair<std::uint64_t, std::size_t>> numbers) {
    Bytes bytes;
    for (const auto& [number, size] : numbers) appendNumber(bytes, number, size);
    return bytes;
}

class Onu {
public:
    explicit Onu(VornHal& hal) : watch(hal), agent_(bigBoard(), hal, device_, clock_), services_(agent_.mib(), watch) {
        set({class_id::kTCont, kTCont}, attr::t_cont::kAllocId, values({{1024, 2}}));
        // A bridge for each Ethernet port and one for the VEIP.
        for (InstanceId bridge = 1; bridge <= 5; ++bridge) {
            const bool veip = bridge == 5;
            create({class_id::kBridge, bridge}, values({{0, 1}, {1, 1}}));
            create({class_id::kBridgePort, static_cast<InstanceId>(0x4000 + bridge)},
                   values({{bridge, 2}, {1, 1}, {veip ? 11U : 1U, 1}, {veip ? kVeip : 0x0100U + bridge, 2}}));
            if (veip) continue;
            create({class_id::kExtendedTagging, bridge}, values({{2, 1}, {0x0100U + bridge, 2}}));
        }
    }

    // Service n, from 0: a GEM port with a VLAN of its own, and at an Ethernet port a row for it. Beyond 176 services,
    // which are as many rows as the HAL keeps of four ports, they are the gateway's.
    void provision(unsigned n) {
        const auto id = static_cast<InstanceId>(0x1000 + n);
        const InstanceId bridge = bridgeOf(n);
        Bytes mapper(9 * 2, 0xFF);  // pointers to nothing
        mapper.insert(mapper.end(), {1, 0});
        create({class_id::kMapper, id}, mapper);
        create({class_id::kGemPort, id}, values({{1000 + n, 2}, {kTCont, 2}, {3, 1}, {0x8000, 2}, {kNull, 2}, {0, 2}}));
        create({class_id::kGemInterworking, id}, values({{id, 2}, {5, 1}, {id, 2}, {kNull, 2}, {0, 2}}));
        Bytes pointers;
        for (unsigned priority = 0; priority < 8; ++priority) appendNumber(pointers, id, 2);
        send(MessageType::kSet, {class_id::kMapper, id}, AttributeValues{0x7F80, pointers});
        create({class_id::kBridgePort, id}, values({{bridge, 2}, {2, 1}, {3, 1}, {id, 2}}));
        Bytes filter = values({{100 + n, 2}});
        filter.resize(24);
        filter.insert(filter.end(), {0x10, 1});
        create({class_id::kVlanFilter, id}, filter);
        if (bridge != 5) setRow(bridge, n, values({{0x400F0000, 4}, {(100 + n) << 3 | 4, 4}}));
    }
    void remove(unsigned n) {
        const auto id = static_cast<InstanceId>(0x1000 + n);
        const InstanceId bridge = bridgeOf(n);
        if (bridge != 5) setRow(bridge, n, values({{0xFFFFFFFF, 4}, {0xFFFFFFFF, 4}}));
        for (const ClassId classId : {class_id::kVlanFilter, class_id::kBridgePort, class_id::kGemInterworking,
                                      class_id::kGemPort, class_id::kMapper})
            send(MessageType::kDelete, {classId, id}, NoContent{});
    }

    std::uint64_t messages = 0;
    Stopwatch watch;

private:
    static InstanceId bridgeOf(unsigned n) { return static_cast<InstanceId>(n < 176 ? 1 + n % 4 : 5); }
    // The subscriber's VID of service n, from 2 on.
    void setRow(InstanceId bridge, unsigned n, const Bytes& treatment) {
        Bytes row = values({{0xF8000000, 4}, {0x80000000 | (2 + n) << 15, 4}});
        row.insert(row.end(), treatment.begin(), treatment.end());
        set({class_id::kExtendedTagging, bridge}, attr::extended_tagging::kTaggingTable, row);
    }
    void create(EntityKey entity, const Bytes& values) { send(MessageType::kCreate, entity, CreateValues{values}); }
    void set(EntityKey entity, AttributeNumber attribute, const Bytes& value) {
        send(MessageType::kSet, entity, AttributeValues{maskOf(attribute), value});
    }
    void send(MessageType type, EntityKey entity, const Content& content) {
        const Message message = omci_bench::request(transaction_, type, entity, content);
        const Handled handled = agent_.handle(message);
        services_.settle(static_cast<int>(type), message.transaction);
        if (!handled.answer || handled.answer->content.front() != 0) std::abort();
        ++messages;
    }

    Device device_;
    SteadyClock clock_;
    Agent agent_;
    services::Services services_;
    std::uint16_t transaction_ = 0;
};

double microseconds(Clock_::duration time) {
    return std::chrono::duration<double, std::micro>(time).count();
}

// A service comes and goes beside others, on a HAL that does nothing. us: a message.
void aServiceBesideOthers(benchmark::State& state) {
    VornHal hal;
    Onu onu(hal);
    const auto others = static_cast<unsigned>(state.range(0)) - 1;
    // The one that comes and goes is at a port; so are 8 of 8, and 176 of 256.
    const unsigned own = 171;
    for (unsigned n = 0; n < others; ++n) {
        if (n != own) onu.provision(n);
    }
    if (others >= own) onu.provision(others);
    const std::uint64_t before = onu.messages;
    std::vector<double> times;
    for (auto _ : state) {
        const auto start = Clock_::now();
        onu.provision(own);
        onu.remove(own);
        times.push_back(microseconds(Clock_::now() - start));
    }
    const double messages = static_cast<double>(onu.messages - before) / static_cast<double>(times.size());
    std::nth_element(times.begin(), times.begin() + static_cast<long>(times.size() / 2), times.end());
    state.counters["us"] = times[times.size() / 2] / messages;
    state.counters["messages"] = messages;
}
BENCHMARK(aServiceBesideOthers)->Arg(8)->Arg(256)->Iterations(3000)->Unit(benchmark::kMicrosecond);

// A service provisioned by messages on the virtual ONU. own: what is not the HAL's of the whole time.
void provisioningByMessages(benchmark::State& state) {
    virtual_onu::VirtualOnu::instance().reset();
    Onu onu(*HALFactory::getInstance()->CreateHALObject(0));
    std::vector<double> own, whole;
    for (auto _ : state) {
        onu.watch.spent = {};
        const auto start = Clock_::now();
        for (unsigned n = 0; n < 8; ++n) onu.provision(n);
        const double time = microseconds(Clock_::now() - start);
        whole.push_back(time / 8);
        own.push_back((time - microseconds(onu.watch.spent)) / 8);
        state.PauseTiming();
        for (unsigned n = 0; n < 8; ++n) onu.remove(n);
        virtual_onu::VirtualOnu::instance().clearTrace();
        state.ResumeTiming();
    }
    const auto median = [](std::vector<double>& values) {
        std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
        return values[values.size() / 2];
    };
    const double all = median(whole), mine = median(own);
    state.counters["us"] = all;
    state.counters["own_us"] = mine;
    state.counters["own"] = mine / all;
}
BENCHMARK(provisioningByMessages)->Iterations(40)->Unit(benchmark::kMicrosecond);

}  // namespace
