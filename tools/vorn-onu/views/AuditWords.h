// What an audit found, for a terminal, for programs and for the report.
#ifndef VORN_ONU_AUDIT_WORDS_H
#define VORN_ONU_AUDIT_WORDS_H

#include <string>

#include "views/Terminal.h"
#include "views/audit/Audit.h"

namespace vorn_onu {

// command: how a frame is sent through the same device, audit::commandFor("send", file).
std::string auditWords(const audit::Result& result, const std::string& command, const Terminal& terminal);
Json auditJson(const audit::Result& result, const std::string& command);
// A part of the report as HTML.
std::string auditPart(const audit::Result& result, const std::string& command);

}  // namespace vorn_onu

#endif
