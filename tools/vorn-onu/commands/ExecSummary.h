// What is shown of a program when it has ended, or has gone into the background.
#ifndef VORN_ONU_EXEC_SUMMARY_H
#define VORN_ONU_EXEC_SUMMARY_H

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "running/program/RunFolder.h"
#include "running/program/Supervisor.h"

namespace vorn_onu {

class ExecSummary {
public:
    ExecSummary(std::vector<std::string> program, const RunFolder& folder, const Ending& ending);

    bool quiet = false;
    bool touched = true;                          // the program has called the device
    std::string halOutput, traceFile, recording;  // "" for none
    std::string snapshotFile;
    std::string forwarding;    // what holds, in words
    bool stateIsKept = false;  // it is there after the run

    // A process that uses the device, or may do so yet, is in the background.
    bool goesOn() const;
    // state: discarded when nobody has touched the device so far.
    void show(const nlohmann::json& state) const;

private:
    void reportBackground() const;
    void reportOtherBoards() const;
    void reportHalOutput() const;

    std::vector<std::string> program_;
    const RunFolder& folder_;
    const Ending& ending_;
};

nlohmann::json newBoard();  // the state of one

// Files that were asked for; "" for none. A FileProblem when one cannot be written.
void writeReport(const std::string& path, const std::vector<std::string>& program, const Ending& ending,
                 const nlohmann::json& device);
// The frames that the program has sent through packet sockets.
void writeCapture(const std::string& path, const nlohmann::json& device);

}  // namespace vorn_onu

#endif
