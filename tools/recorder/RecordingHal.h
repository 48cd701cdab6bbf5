// A HAL object that forwards every operation to another one and records the call.
#ifndef RECORDER_RECORDING_HAL_H
#define RECORDER_RECORDING_HAL_H

class VornHal;

namespace recorder {

// The process has one HAL object, so it has one of these, which owns the other.
VornHal* recordingHal(VornHal* hal);

}  // namespace recorder

#endif
