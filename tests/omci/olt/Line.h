// The line from the OLT to an ONU.
#ifndef TESTS_OMCI_OLT_LINE_H
#define TESTS_OMCI_OLT_LINE_H

#include <optional>

#include "omci/message/Message.h"

namespace olt {

class Line {
public:
    virtual ~Line() = default;
    // Sends a request and gives the ONU's answer; nothing where none came.
    virtual std::optional<omci::Message> exchange(const omci::Message& request) = 0;
};

}  // namespace olt

#endif
