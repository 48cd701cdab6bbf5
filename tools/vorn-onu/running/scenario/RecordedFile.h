// The file that a recorded program has left.
#ifndef VORN_ONU_RECORDED_FILE_H
#define VORN_ONU_RECORDED_FILE_H

#include <optional>
#include <string>

namespace vorn_onu {

struct RecordedFile {
    std::size_t calls = 0;
    bool truncated = false;  // the last call was half written when the program was killed, and is left out
};

// Makes sure that the file is a whole scenario. None when there is no such file, or nothing in it to keep.
std::optional<RecordedFile> finishRecording(const std::string& path);

}  // namespace vorn_onu

#endif
