// SIGTERM and SIGINT as something to wait for.
#ifndef VORN_ONU_ENDING_SIGNALS_H
#define VORN_ONU_ENDING_SIGNALS_H

namespace vorn_onu {

// A descriptor that is readable when one has come; below 0 when there can be none. Asked before the HAL makes its
// threads, which take the mask over.
int endingSignals();

}  // namespace vorn_onu

#endif
