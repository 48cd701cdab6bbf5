// Steps that set the stage: the gateway's behaviour, the clock. The board's are in BoardSettings.cpp.
#include <chrono>
#include <thread>

#include <nlohmann/json.hpp>

#include "running/scenario/BoardSettings.h"
#include "running/scenario/Scenario.h"
#include "running/scenario/fields/Field.h"
#include "running/state/FieldWords.h"

namespace vorn_onu {

namespace {

using virtual_onu::GatewayMode;

const Numbers kDelay{0, 60000};
const Numbers kMessageType{0, 0xFFFFFFFF, {}, false, true};
constexpr std::uint32_t kServiceStatusQuery = 0x10002251;  // the gateway asks for a service's state again

// ---- gateway ----

// The 60-byte service record with name, VLAN and p-bits at their places.
std::vector<std::uint8_t> serviceQuery(const Json& value) {
    struct Query {
        std::string ifName;
        std::int32_t pbits, vlanId;
    };
    Query query{};
    readFields(&query,
               {field("ifName", &Query::ifName, otherwise("veip0"), "device of the service"),
                field("pbits", &Query::pbits, Numbers{-2, 65535}, required(), "p-bits of the service"),
                field("vlanId", &Query::vlanId, Numbers{-2, 65535}, required(), "VLAN of the service")},
               value);
    if (query.ifName.size() > 31) throw Problem("ifName", "must be at most 31 characters");
    std::vector<std::uint8_t> payload(60, 0);
    for (std::size_t i = 0; i < query.ifName.size(); ++i) payload[i] = static_cast<std::uint8_t>(query.ifName[i]);
    for (unsigned i = 0; i < 4; ++i) {
        payload[32 + i] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(query.pbits) >> (8 * i));
        payload[36 + i] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(query.vlanId) >> (8 * i));
    }
    return payload;
}

struct GatewayMessage {
    std::uint32_t type = 0;
    std::vector<std::uint8_t> payload;
    std::int64_t dataLength = -1;
};

GatewayMessage messageOf(const Json& value) {
    GatewayMessage message;
    readFields(
        &message,
        {field("type", &GatewayMessage::type, kMessageType, required(), "message type"),
         Field{"payload", optional(), "bytes as hex text", Json{{"type", "string"}},
               [](void* record, const Json& bytes) { static_cast<GatewayMessage*>(record)->payload = bytesOf(bytes); }},
         field("dataLength", &GatewayMessage::dataLength, Numbers{-1, 65535}, optional(),
               "what the header claims; left out: the truth")},
        value);
    return message;
}

void parseGateway(Step& step, const Json& whole, ParseContext&) {
    const Json& value = whole["gateway"];
    step.needsHal = true;  // messages come to its mailbox
    step.words = value.is_object() ? fieldWords(value) : valueWords("gateway", value);
    if (value.is_object() && value.contains("asks")) {
        checkKeys(value, {"asks"});
        const auto payload =
            inField("gateway", [&] { return inField("asks", [&] { return serviceQuery(value["asks"]); }); });
        step.run = [payload](RunContext& context) {
            context.onu.gatewaySends(kServiceStatusQuery, payload);
            return StepResult{};
        };
        return;
    }
    if (value.is_object() && value.contains("sends")) {
        checkKeys(value, {"sends"});
        const auto message =
            inField("gateway", [&] { return inField("sends", [&] { return messageOf(value["sends"]); }); });
        step.run = [message](RunContext& context) {
            context.onu.gatewaySends(message.type, message.payload, static_cast<long>(message.dataLength));
            return StepResult{};
        };
        return;
    }
    inField("gateway", [&] {
        GatewayMode mode = GatewayMode::Answers;
        std::int64_t delay = 2;
        if (value.is_object() && value.contains("answersAfterMs")) {
            checkKeys(value, {"answersAfterMs"});
            delay = inField("answersAfterMs", [&] { return kDelay.read(value["answersAfterMs"]); });
        } else if (value == "silent") {
            mode = GatewayMode::Silent;
        } else if (value != "answers") {
            throw Problem("must be \"answers\", \"silent\", {\"answersAfterMs\"}, {\"asks\"} or {\"sends\"}, not " +
                          shown(value));
        }
        step.run = [mode, delay](RunContext& context) {
            context.onu.setGateway(mode, static_cast<int>(delay));
            return StepResult{};
        };
    });
}

Json gatewaySchema() {
    const auto only = [](const char* key, const Json& schema) {
        return objectSchema({{key, schema}}, Json::array({key}));
    };
    return {{"anyOf", Json::array({Json{{"enum", {"answers", "silent"}}}, only("answersAfterMs", kDelay.schema()),
                                   only("asks", Json{{"type", "object"}}), only("sends", Json{{"type", "object"}})})}};
}

// ---- clock ----

void parseAdvance(Step& step, const Json& whole, ParseContext&) {
    const auto milliseconds = inField("advance", [&] { return kDelay.read(whole["advance"]); });
    step.needsHal = true;  // its threads live through it
    step.words = "the clock moves on by " + std::to_string(milliseconds) + " ms";
    step.run = [milliseconds](RunContext& context) {
        context.onu.advance(static_cast<unsigned>(milliseconds));
        return StepResult{};
    };
}

void parseBoard(Step& step, const Json& whole, ParseContext&) {
    const Json& value = whole["board"];
    const auto set = inField("board", [&] { return boardSettings(value); });
    step.words = fieldWords(value);
    step.run = [set](RunContext& context) {
        for (const auto& one : set) one(context.onu);
        return StepResult{};
    };
}

}  // namespace

std::vector<StepKind> setupSteps() {
    return {
        {"gateway",
         "how the gateway side behaves from now on, or a message that it sends",
         {},
         gatewaySchema(),
         parseGateway},
        {"board", "changes the board or the rest of the device, as if from outside", {}, boardSchema(), parseBoard},
        {"advance", "lets this many milliseconds pass for every thread that idles", {}, kDelay.schema(), parseAdvance},
    };
}

}  // namespace vorn_onu
