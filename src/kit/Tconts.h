// T-CONTs: the binding of alloc-ids in GPON control, and the upstream queues in traffic management.
#ifndef KIT_TCONTS_H
#define KIT_TCONTS_H

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/tmctl.h"

namespace kit {

constexpr std::uint16_t kNoAllocId = 65535;
constexpr std::uint16_t kKeptAllocId = 255;  // its T-CONT is never reset

// False when GPON control refuses it, or that an earlier binding is cleared; it is asked for both all the same.
bool bindTcont(int tContIndex, std::uint16_t allocId);
bool unbindTcont(int tContIndex);

// Traffic management takes the T-CONT up. False when it refuses.
bool initTcontQueues(int tContIndex);
// Queue n, 0 to 7, becomes a strict-priority queue of priority n. False on the first queue that is refused.
bool createTcontQueues(int tContIndex);
std::optional<TmctlQueueCfg> tcontQueue(int tContIndex, unsigned queue);
bool setTcontQueue(int tContIndex, const TmctlQueueCfg& config);
// Those that there are.
std::vector<TmctlQueueCfg> tcontQueues(int tContIndex);

bool deleteTcontQueue(int tContIndex, unsigned queue);
// Traffic management gives the T-CONT up.
bool releaseTcontQueues(int tContIndex);
// Deletes the queues and unbinds the T-CONT.
void resetTcont(int tContIndex);

void noteTcontQueues(int tContIndex, bool exist);

}  // namespace kit

#endif
