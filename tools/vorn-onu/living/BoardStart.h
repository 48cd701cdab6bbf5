// How the board of this process starts.
#ifndef VORN_ONU_BOARD_START_H
#define VORN_ONU_BOARD_START_H

#include <string>

namespace vorn_onu {

// "": as a new board has it, and of a board in a file as the file says.
struct BoardStart {
    std::string serialNumber;  // as virtual_onu::problemOfSerialNumber() takes it
    std::string baseMac;       // as virtual_onu::problemOfBaseMac() does
    std::string file;          // the board goes on with what it holds, and leaves what it becomes there

    // Makes the process's virtual ONU this board. Throws std::runtime_error where the file cannot be used; the board is
    // a new one then.
    void apply() const;
};

}  // namespace vorn_onu

#endif
