// What a message costs in the agent, without the HAL: the decoder's and encoder's share and the MIB's.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "OmciRequest.h"
#include "hal/VornHal.h"
#include "omci/agent/Endpoint.h"
#include "omci/message/Integrity.h"

namespace {

using namespace omci;

class Onu {
public:
    // With services many bridges, each with a mapper, a GEM port, both bridge ports, a filter and a tagging table.
    explicit Onu(unsigned services, const Integrity& integrity = {}) : endpoint(agent, integrity) {
        for (unsigned n = 1; n <= services; ++n) {
            const auto id = static_cast<InstanceId>(n);
            create({class_id::kBridge, id});
            create({class_id::kMapper, id});
            create({class_id::kGemPort, id});
            create({class_id::kGemInterworking, id}, {0, 1, 5});
            create({class_id::kBridgePort, id}, {0, 1, 1, 3, 0, 1});
            create({class_id::kBridgePort, static_cast<InstanceId>(id + 0x1000)}, {0, 1, 2, 1, 1, 1});
            create({class_id::kVlanFilter, id});
            create({class_id::kExtendedTagging, id}, {2, 1, 1});
        }
    }

    Bytes frame(MessageType type, EntityKey entity, const Content& content) {
        return encodeFrame(omci_bench::request(transaction, type, entity, content));
    }

    SteadyClock clock;
    VornHal hal;
    Device device;
    Agent agent{Board(), hal, device, clock};
    Endpoint endpoint;
    std::uint16_t transaction = 0;

private:
    void create(EntityKey entity, const Bytes& values = {}) {
        const Message message = omci_bench::request(transaction, MessageType::kCreate, entity, CreateValues{values});
        if (!agent.handle(message).answer) std::abort();
    }
};

// The same request over and over, each time as a new transaction.
void handleOverAndOver(benchmark::State& state, Onu& onu, Bytes frame, const Integrity& integrity) {
    for (auto _ : state) {
        state.PauseTiming();
        putNumber(frame.data(), omci_bench::next(onu.transaction), 2);
        Bytes whole = frame;
        integrity.protect(whole, Direction::kDownstream);
        state.ResumeTiming();
        const Received received = onu.endpoint.receive(whole);
        if (received.answer.empty()) state.SkipWithError("no answer");
    }
}

const Bytes kRow{0xF8, 0, 0, 0, 0x80, 0x32, 0, 0, 0x40, 0x0F, 0, 0, 0, 0x08, 0x0A, 0x0C};

void getOfAnOnu(benchmark::State& state) {
    Onu onu(static_cast<unsigned>(state.range(0)));
    handleOverAndOver(state, onu, onu.frame(MessageType::kGet, {class_id::kTCont, 0x8000}, AttributesAsked{0xE000}),
                      {});
}
BENCHMARK(getOfAnOnu)->Arg(8)->Arg(256);

// Sets what exists already: nothing changes but the data sync counter.
void setOfAnAttribute(benchmark::State& state) {
    Onu onu(static_cast<unsigned>(state.range(0)));
    const AttributeValues values{maskOf(attr::ethernet_uni::kMaxFrameSize), {0x05, 0xEE}};
    handleOverAndOver(state, onu, onu.frame(MessageType::kSet, {class_id::kEthernetUni, 0x0101}, values), {});
}
BENCHMARK(setOfAnAttribute)->Arg(8)->Arg(256);

void setOfATaggingRow(benchmark::State& state) {
    Onu onu(static_cast<unsigned>(state.range(0)));
    const AttributeValues values{maskOf(attr::extended_tagging::kTaggingTable), kRow};
    handleOverAndOver(state, onu, onu.frame(MessageType::kSet, {class_id::kExtendedTagging, 1}, values), {});
}
BENCHMARK(setOfATaggingRow)->Arg(8)->Arg(256);

void uploadNext(benchmark::State& state) {
    Onu onu(8);
    onu.endpoint.receive(onu.frame(MessageType::kMibUpload, {class_id::kOnuData, 0}, NoContent{}));
    handleOverAndOver(state, onu, onu.frame(MessageType::kMibUploadNext, {class_id::kOnuData, 0}, CommandNumber{7}),
                      {});
}
BENCHMARK(uploadNext);

void getWithAnIntegrityCode(benchmark::State& state) {
    const Integrity integrity = state.range(0) == 0 ? Integrity::crc() : Integrity::aesCmac(AesKey{1, 2, 3});
    Onu onu(8, integrity);
    handleOverAndOver(state, onu, onu.frame(MessageType::kGet, {class_id::kTCont, 0x8000}, AttributesAsked{0xE000}),
                      integrity);
}
BENCHMARK(getWithAnIntegrityCode)->ArgName("aes")->Arg(0)->Arg(1);

void makeABridgePort(benchmark::State& state) {
    Onu onu(static_cast<unsigned>(state.range(0)));
    const EntityKey port{class_id::kBridgePort, 0x7000};
    for (auto _ : state) {
        const Bytes create = onu.frame(MessageType::kCreate, port, CreateValues{{0, 1, 3, 1, 1, 1}});
        const Bytes erase = onu.frame(MessageType::kDelete, port, NoContent{});
        onu.endpoint.receive(create);
        onu.endpoint.receive(erase);
    }
}
BENCHMARK(makeABridgePort)->Arg(8)->Arg(256);

void startOfAnAgent(benchmark::State& state) {
    VornHal hal;
    Device device;
    SteadyClock clock;
    for (auto _ : state) {
        const Agent agent(Board(), hal, device, clock);
        benchmark::DoNotOptimize(&agent);
    }
}
BENCHMARK(startOfAnAgent)->Unit(benchmark::kMicrosecond);

}  // namespace
