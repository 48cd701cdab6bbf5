// What commands at a board have in common.
#ifndef VORN_ONU_AT_TRYING_H
#define VORN_ONU_AT_TRYING_H

#include <exception>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "commands/Commands.h"
#include "living/Protocol.h"
#include "running/io/Output.h"
#include "running/scenario/fields/Problem.h"

namespace vorn_onu {

// Answers the exit code of work, which may throw.
template <typename Work>
int tried(const std::string& place, Work work) {
    try {
        return work();
    } catch (const Problem& problem) {
        complain("at: " + place + ": " + problem.text());
    } catch (const living::Refusal& refusal) {
        complain("at: " + place + ": " + refusal.what());
    } catch (const std::exception& error) {
        complain("at: " + std::string(error.what()));
    }
    return kBadInput;
}

// name(arguments) = result, of an entry of a trace.
std::string callText(const nlohmann::json& entry);

}  // namespace vorn_onu

#endif
