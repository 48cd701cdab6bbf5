// Performance monitoring: counters in 15-minute intervals on a common tick, and the alerts when one crosses its
// threshold.
#ifndef OMCI_AGENT_PERFORMANCE_H
#define OMCI_AGENT_PERFORMANCE_H

#include <cstdint>
#include <map>

#include "omci/agent/Alarms.h"
#include "omci/agent/CounterSources.h"
#include "omci/mib/Commands.h"
#include "omci/mib/Mib.h"

namespace omci {

constexpr std::uint64_t kIntervalMs = 15ULL * 60 * 1000;

class Performance : private MibObserver {
public:
    // All live as long as this object.
    Performance(Mib& mib, Alarms& alarms, CounterSources& sources, std::uint64_t nowMs);
    ~Performance() override;
    Performance(const Performance&) = delete;
    Performance& operator=(const Performance&) = delete;

    // The running interval's values of an entity that exists and is of a class of performance monitoring.
    GetOutcome current(EntityKey entity, AttributeMask mask, std::size_t room);
    // The OLT wrote to the entity: a control block may ask for the counters to start again.
    void written(EntityKey entity);
    // Ends the intervals that are over, and looks for thresholds that are crossed.
    void tick(std::uint64_t nowMs);
    // A new interval begins now, and with it the count of intervals; the counters of the running and of the last one
    // are cleared.
    void synchronize(std::uint64_t nowMs);

private:
    void onChange(const Change& change) override;
    CounterValues since(const Entity& pm, const CounterValues& begin);
    void endInterval();
    void close(Entity& pm, const CounterValues& values);  // with these of its last interval
    void checkThresholds(const Entity& pm, const CounterValues& values);

    Mib& mib_;
    Alarms& alarms_;
    CounterSources& sources_;
    std::map<EntityKey, CounterValues> begins_;  // counters when the running interval began
    std::uint64_t intervalBeginMs_;
    std::uint8_t interval_ = 0;  // the running one; the count wraps
};

}  // namespace omci

#endif
