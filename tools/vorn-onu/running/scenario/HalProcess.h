// The process that the HAL lives in, when a scenario lets it end and start again. The runner stays: its virtual ONU is
// the same board (VirtualOnu::openBoard), so that frames, expectations and marks are its own affair, and the HAL's
// process is asked for what needs the HAL.
#ifndef VORN_ONU_HAL_PROCESS_H
#define VORN_ONU_HAL_PROCESS_H

#include <sys/types.h>

#include <string>
#include <utility>

#include "running/scenario/StepHost.h"

namespace vorn_onu {

class HalProcess {
public:
    // Steps are asked for by their place in the scenario. The board must be open, as one that shares the run. The HAL
    // opens the state file, if there is one, before anything else.
    HalProcess(const Scenario& scenario, std::string stateFile)
        : scenario_(scenario), stateFile_(std::move(stateFile)) {}
    ~HalProcess() { end(Restart::Exit); }
    HalProcess(const HalProcess&) = delete;
    HalProcess& operator=(const HalProcess&) = delete;

    // Answers what came of the state file: "12 records restored"; "" without one. Throws std::runtime_error when there
    // can be no further process, or the HAL cannot open the file: what needs the HAL fails then.
    std::string begin();
    // Nothing of the process is left afterwards. Killed: between two instructions, whatever its threads are at.
    void end(Restart how);

    // A process that ends meanwhile, or has ended before, is a failure of the step.
    StepHost::Answer run(const Step& step);

private:
    [[noreturn]] void live(int channel) const;
    std::string howItEnded();

    const Scenario& scenario_;
    std::string stateFile_;
    pid_t process_ = 0;
    int channel_ = -1;
    std::string ended_;  // how, when nobody asked for it
};

}  // namespace vorn_onu

#endif
