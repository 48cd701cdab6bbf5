// What an audit found, for a terminal, for programs and for the report.
#ifndef VORN_ONU_AUDIT_WORDS_H
#define VORN_ONU_AUDIT_WORDS_H

#include <string>

#include "audit/Audit.h"
#include "show/Terminal.h"

namespace vorn_onu {

std::string auditWords(const audit::Result& result, const std::string& scenarioFile, const Terminal& terminal);
Json auditJson(const audit::Result& result, const std::string& scenarioFile);
// A part of the report as HTML.
std::string auditPart(const audit::Result& result, const std::string& scenarioFile);

}  // namespace vorn_onu

#endif
