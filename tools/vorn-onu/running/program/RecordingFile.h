// The recording of a run: written beside its place, and put there when there is one.
#ifndef VORN_ONU_RECORDING_FILE_H
#define VORN_ONU_RECORDING_FILE_H

#include <string>

#include "running/program/RunFolder.h"

namespace vorn_onu {

class RecordingFile {
public:
    explicit RecordingFile(const std::string& wanted);  // the name that the user gave
    // Throws a FileProblem when nothing can be made there.
    void check() const;
    const std::string& beside() const { return beside_; }  // where the recorder writes meanwhile

    // When the program has ended: puts the recordings of its processes in place and tells of them; of none, why there
    // is none.
    void putInPlace(const HalPresence& hal, bool touched, bool quiet) const;

private:
    bool putOne(const std::string& from, const std::string& to, bool quiet) const;
    std::string wanted_;
    std::string place_;  // absolute
    std::string beside_;
};

}  // namespace vorn_onu

#endif
