// What is wrong with a board file.
#ifndef VIRTUAL_ONU_BAD_BOARD_H
#define VIRTUAL_ONU_BAD_BOARD_H

#include <stdexcept>

namespace virtual_onu::persistence {

class BadBoard : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace virtual_onu::persistence

#endif
