// T-CONTs: the binding of alloc-ids in GPON control, and the upstream queues in traffic management.
#ifndef KIT_TCONTS_H
#define KIT_TCONTS_H

#include <cstdint>
#include <optional>

#include "platform/tmctl.h"

namespace kit {

constexpr std::uint16_t kNoAllocId = 65535;
constexpr std::uint16_t kKeptAllocId = 255;  // its T-CONT is never reset

void bindTcont(int tContIndex, std::uint16_t allocId);

// Traffic management takes the T-CONT up. False when it refuses.
bool initTcontQueues(int tContIndex);
// Queue n, 0 to 7, becomes a strict-priority queue of priority n. False on the first queue that is refused.
bool createTcontQueues(int tContIndex);
std::optional<TmctlQueueCfg> tcontQueue(int tContIndex, unsigned queue);
bool setTcontQueue(int tContIndex, const TmctlQueueCfg& config);

// Deletes the queues and unbinds the T-CONT.
void resetTcont(int tContIndex);

void noteTcontQueues(int tContIndex, bool exist);

}  // namespace kit

#endif
