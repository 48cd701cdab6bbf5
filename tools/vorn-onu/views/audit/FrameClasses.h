// The frames that an audit tries: each kind of tags inside and outside of rows and filters, each type of payload.
#ifndef VORN_ONU_AUDIT_FRAME_CLASSES_H
#define VORN_ONU_AUDIT_FRAME_CLASSES_H

#include <string>
#include <vector>

#include "views/audit/AskedServices.h"

namespace vorn_onu::audit {

// "untagged", "priority-tagged", "one tag", "two tags"
std::string kindOf(const Frame& frame);

// For a port and the filters of its bridges, in both directions: the VIDs and p-bits that they name and such that
// nobody names.
std::vector<Frame> framesFor(const UniPort& port, const std::vector<AniPort>& filters);

}  // namespace vorn_onu::audit

#endif
