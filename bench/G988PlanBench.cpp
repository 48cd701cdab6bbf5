// What planning costs where services follow the standard: a port with 96 rows, and one of them changed.
#include <benchmark/benchmark.h>

#include "BRCM/BCM968580/DATA/g988/Difference.h"
#include "BRCM/BCM968580/DATA/g988/Planner.h"

namespace {

g988::TaggingRow translation(unsigned customer, unsigned service) {
    g988::TaggingRow row;
    row.innerFilter = {g988::filter_code::kAnyPbits, static_cast<std::uint16_t>(customer), 0};
    row.tagsToRemove = 1;
    row.innerTreatment = {5, static_cast<std::uint16_t>(service), g988::treatment_code::kTpid8100};
    row.bridge = 1;
    return row;
}

g988::Tables portWith(unsigned rows) {
    g988::Tables tables;
    auto& port = tables.uniPorts[0];
    port.bridges = {1};
    port.tagging.emplace();
    for (unsigned i = 0; i < rows; ++i) port.tagging->set(translation(100 + i, 1000 + i));
    g988::PonPort pon;
    pon.mapper.places.fill(g988::GemPlace{10, 0});
    tables.bridges[1] = {pon};
    return tables;
}

void planPort(benchmark::State& state) {
    const auto tables = portWith(static_cast<unsigned>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(g988::planOf(tables));
}
BENCHMARK(planPort)->Arg(4)->Arg(24)->Arg(96);

void planChangeOfOneRow(benchmark::State& state) {
    auto tables = portWith(static_cast<unsigned>(state.range(0)));
    g988::Installed installed;
    const g988::Plan plan = g988::planOf(tables);
    for (const auto& [key, sources] : plan.tables)
        for (const auto& [source, rules] : sources)
            for (const g988::Rule& rule : rules) installed[key].append(0, rule);
    tables.uniPorts[0].tagging->set(translation(110, 2000));
    for (auto _ : state) benchmark::DoNotOptimize(g988::differences(installed, g988::planOf(tables)));
}
BENCHMARK(planChangeOfOneRow)->Arg(4)->Arg(24)->Arg(96);

}  // namespace
