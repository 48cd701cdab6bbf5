#include "living/Protocol.h"

#include <nlohmann/json.hpp>

namespace vorn_onu::living {

std::string replyText(const nlohmann::json& reply) {
    return reply.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

std::string refusalText(const Refusal& refusal) {
    return replyText({{"ok", false}, {"code", refusal.code()}, {"error", refusal.what()}});
}

}  // namespace vorn_onu::living
