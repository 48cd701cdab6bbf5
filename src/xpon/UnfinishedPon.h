// What an operation on T-CONTs and GEM ports had begun when the process ended.
#ifndef XPON_UNFINISHED_PON_H
#define XPON_UNFINISHED_PON_H

#include <cstdint>

// The adapter's maps are as before the operation. A T-CONT that was being bound is reset; one that another alloc-id is
// bound to gets that binding back.
void unbindTcont(std::uint16_t allocId, std::uint16_t tContIndex);
void finishTcontReset(std::uint16_t allocId);
// A GEM port that was being made leaves the driver.
void removeNewGemPort(std::uint16_t gemPortId);
void lowerPonDevice();  // which was being brought up for its first GEM port
void finishGemPortRemoval(std::uint16_t gemPortId);

#endif
