#include "Replay.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

#include "platform/gponctl.h"
#include "platform/kit_numbers.h"
#include "platform/logger.h"
#include "platform/tmctl.h"
#include "platform/vlanctl.h"

namespace {

using Tokens = std::vector<Replay::Token>;
using Call = Replay::Call;
using Answers = Replay::Answers;

// "\"sid0\", 0, 1, &3" and "queue 0 priority 1": words between commas and blanks, quoted texts whole.
Tokens tokensOf(const std::string& arguments) {
    Tokens tokens;
    for (std::size_t at = 0; at < arguments.size();) {
        if (arguments[at] == ',' || arguments[at] == ' ' || arguments[at] == '&') {
            ++at;
            continue;
        }
        Replay::Token token;
        if (arguments[at] == '"') {
            for (++at; arguments[at] != '"'; ++at) {
                if (arguments[at] == '\\') ++at;
                token.text += arguments[at];
            }
            ++at;
        } else {
            const std::size_t end = std::min(arguments.find_first_of(", ", at), arguments.size());
            token.text = arguments.substr(at, end - at);
            at = end;
        }
        token.number = static_cast<std::uint32_t>(std::strtoll(token.text.c_str(), nullptr, 10));
        tokens.push_back(token);
    }
    return tokens;
}

template <typename Argument>
Argument argumentOf(const Replay::Token& token) {
    if constexpr (std::is_same_v<Argument, const char*>) {
        return token.text.c_str();
    } else {
        return static_cast<Argument>(token.number);
    }
}

// A function of the kit whose arguments are texts and numbers, as they are in the trace.
template <typename Result, typename... Arguments, std::size_t... Index>
Call plainCall(Result (*function)(Arguments...), const Tokens& tokens, std::index_sequence<Index...>) {
    return [=](Answers&) { function(argumentOf<Arguments>(tokens[Index])...); };
}

using Maker = std::function<Call(const Tokens&)>;
template <typename Result, typename... Arguments>
Maker plain(Result (*function)(Arguments...)) {
    return [=](const Tokens& tokens) { return plainCall(function, tokens, std::index_sequence_for<Arguments...>()); };
}

std::uint16_t half(const Replay::Token& token) {
    return static_cast<std::uint16_t>(token.number);
}

// ---- calls with records and out pointers ----

Call insertRule(const Tokens& t) {
    return [=](Answers& answers) {
        std::uint32_t id = 0;
        vlanCtl_insertTagRule(t[0].text.c_str(), t[1].number, t[2].number, t[3].number, t[4].number, &id);
        answers.ruleIds[t[5].number] = id;
    };
}

Call removeRule(const Tokens& t) {
    return [=](Answers& answers) {
        vlanCtl_removeTagRule(t[0].text.c_str(), t[1].number, t[2].number, answers.ruleIds[t[3].number]);
    };
}

Call countRules(const Tokens& t) {
    return [=](Answers&) {
        std::uint32_t count = 0;
        vlanCtl_getNbrOfRulesInTable(t[0].text.c_str(), t[1].number, t[2].number, &count);
    };
}

template <typename Function>
Maker tcontCall(Function function) {
    return [=](const Tokens& t) -> Call {
        const GponCtlTcontAllocId record{static_cast<std::uint8_t>(t[0].number), 0, half(t[1])};
        return [=](Answers&) { function(&record); };
    };
}

Call configGemPort(const Tokens& t) {
    const GponCtlGemPortConfig record{
        GPONCTL_GEM_INDEX_UNKNOWN, half(t[0]), half(t[1]), static_cast<std::uint8_t>(t[2].number), 1, 3, 0};
    return [=](Answers&) {
        GponCtlGemPortConfig copy = record;
        gponCtl_configGemPort(&copy);
    };
}

Call getGemPort(const Tokens& t) {
    return [=](Answers&) {
        GponCtlGemPort record{GPONCTL_GEM_INDEX_UNKNOWN, half(t[0]), {}};
        gponCtl_getGemPort(&record);
    };
}

Call enableGemPort(const Tokens& t) {
    return [=](Answers&) {
        GponCtlGemPortEnable record{half(t[0]), half(t[1]), static_cast<std::uint8_t>(t[2].number), 0};
        gponCtl_enableGemPort(&record);
    };
}

Call deconfigGemPort(const Tokens& t) {
    return [=](Answers&) {
        const GponCtlGemPortDeconfig record{half(t[0]), half(t[1])};
        gponCtl_deconfigGemPort(&record);
    };
}

Call initTraffic(const Tokens& t) {
    return [=](Answers&) {
        const TmctlIf interface { t[1].number };
        tmctl_portTmInit(static_cast<int>(t[0].number), &interface, t[2].number, static_cast<int>(t[3].number));
    };
}

Call endTraffic(const Tokens& t) {
    return [=](Answers&) {
        const TmctlIf interface { t[1].number };
        tmctl_portTmUninit(static_cast<int>(t[0].number), &interface);
    };
}

Call getQueue(const Tokens& t) {
    return [=](Answers&) {
        const TmctlIf interface { t[1].number };
        TmctlQueueCfg queue{};
        tmctl_getQueueCfg(static_cast<int>(t[0].number), &interface, static_cast<int>(t[2].number), &queue);
    };
}

Call deleteQueue(const Tokens& t) {
    return [=](Answers&) {
        const TmctlIf interface { t[1].number };
        tmctl_delQueueCfg(static_cast<int>(t[0].number), &interface, static_cast<int>(t[2].number));
    };
}

// "2, 1, queue 0 priority 0 size 256 weight 1 mode 1 rate 0 burst 0"
Call setQueue(const Tokens& t) {
    const TmctlQueueCfg queue{t[3].number,  t[5].number,  t[7].number,  t[9].number,
                              t[11].number, t[13].number, t[15].number, 0};
    return [=](Answers&) {
        const TmctlIf interface { t[1].number };
        tmctl_setQueueCfg(static_cast<int>(t[0].number), &interface, &queue);
    };
}

// ---- the kernel ----

// Each request has a socket of its own, as the library's.
int request(unsigned long number, void* argument) {
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    const int result = ioctl(fd, number, argument);
    close(fd);
    return result;
}

const std::map<std::string, unsigned long> kRequests = {
    {"SIOCGIFINDEX", SIOCGIFINDEX}, {"SIOCSIFFLAGS", SIOCSIFFLAGS}, {"SIOCSIFMTU", SIOCSIFMTU},
    {"SIOCBRADDBR", SIOCBRADDBR},   {"SIOCBRDELBR", SIOCBRDELBR},   {"SIOCBRADDIF", SIOCBRADDIF},
    {"SIOCBRDELIF", SIOCBRDELIF},
};

// A port is named to the kernel by its index; the request before has asked for it.
Call bridgePortRequest(unsigned long number, const Tokens& t) {
    return [=](Answers& answers) {
        ifreq record{};
        std::strncpy(record.ifr_name, t[1].text.c_str(), sizeof record.ifr_name - 1);
        record.ifr_ifindex = answers.interfaceIndex;
        request(number, &record);
    };
}

Call ioctlCall(const Tokens& t) {
    const auto known = kRequests.find(t[0].text);
    if (known == kRequests.end()) return nullptr;
    const unsigned long number = known->second;
    switch (number) {
        case SIOCBRADDIF:
        case SIOCBRDELIF:
            return bridgePortRequest(number, t);
        case SIOCBRADDBR:
        case SIOCBRDELBR:
            return [=](Answers&) {
                char name[IFNAMSIZ] = {};
                std::strncpy(name, t[1].text.c_str(), sizeof name - 1);
                request(number, name);
            };
        default:
            break;
    }
    const int value = t.size() > 2 ? static_cast<int>(t[2].number) : 0;
    return [=](Answers& answers) {
        ifreq record{};
        std::strncpy(record.ifr_name, t[1].text.c_str(), sizeof record.ifr_name - 1);
        if (number == SIOCSIFFLAGS) record.ifr_flags = static_cast<short>(value);
        if (number == SIOCSIFMTU) record.ifr_mtu = value;
        if (request(number, &record) == 0 && number == SIOCGIFINDEX) answers.interfaceIndex = record.ifr_ifindex;
    };
}

// An attribute is opened, written and closed; the trace has an entry for the first two.
Call writeAttribute(const Tokens& t) {
    return [=](Answers&) {
        const int fd = open(t[0].text.c_str(), O_WRONLY | O_CLOEXEC);
        if (write(fd, t[1].text.data(), t[1].text.size()) < 0) std::perror(t[0].text.c_str());
        close(fd);
    };
}

Call nothing(const Tokens&) {
    return [](Answers&) {};
}

// "7, \"getInstance\", \"Start\""
Call logLine(const Tokens& t) {
    return [=](Answers&) {
        Logger::getInstance(150)->writeToLog(0, t[1].text.c_str(), "Replay", 0, static_cast<int>(t[0].number), "%s",
                                             t[2].text.c_str());
    };
}

#define PLAIN(function) \
    { #function, plain(&function) }
const std::map<std::string, Maker> kMakers = {
    PLAIN(vlanCtl_init),
    PLAIN(vlanCtl_cleanup),
    PLAIN(vlanCtl_setIfSuffix),
    PLAIN(vlanCtl_createVlanInterface),
    PLAIN(vlanCtl_createVlanInterfaceByName),
    PLAIN(vlanCtl_deleteVlanInterface),
    PLAIN(vlanCtl_setRealDevMode),
    PLAIN(vlanCtl_setDefaultAction),
    PLAIN(vlanCtl_createVlanFlows),
    PLAIN(vlanCtl_initTagRule),
    PLAIN(vlanCtl_setReceiveVlanDevice),
    PLAIN(vlanCtl_filterOnTxVlanDevice),
    PLAIN(vlanCtl_filterOnTagPbits),
    PLAIN(vlanCtl_filterOnTagVid),
    PLAIN(vlanCtl_filterOnTagEtherType),
    PLAIN(vlanCtl_filterOnEthertype),
    PLAIN(vlanCtl_filterOnSkbMarkPort),
    PLAIN(vlanCtl_cmdPushVlanTag),
    PLAIN(vlanCtl_cmdPopVlanTag),
    PLAIN(vlanCtl_cmdDropFrame),
    PLAIN(vlanCtl_cmdSetTagPbits),
    PLAIN(vlanCtl_cmdSetTagVid),
    PLAIN(vlanCtl_cmdSetTagEtherType),
    PLAIN(vlanCtl_cmdSetEtherType),
    PLAIN(vlanCtl_cmdSetSkbMarkPort),
    PLAIN(vlanCtl_cmdSetSkbMarkQueue),
    PLAIN(system),
    {"vlanCtl_insertTagRule", insertRule},
    {"vlanCtl_removeTagRule", removeRule},
    {"vlanCtl_getNbrOfRulesInTable", countRules},
    {"gponCtl_configTcontAllocId", tcontCall(&gponCtl_configTcontAllocId)},
    {"gponCtl_deconfigTcontAllocId", tcontCall(&gponCtl_deconfigTcontAllocId)},
    {"gponCtl_configGemPort", configGemPort},
    {"gponCtl_getGemPort", getGemPort},
    {"gponCtl_enableGemPort", enableGemPort},
    {"gponCtl_deconfigGemPort", deconfigGemPort},
    {"tmctl_portTmInit", initTraffic},
    {"tmctl_portTmUninit", endTraffic},
    {"tmctl_getQueueCfg", getQueue},
    {"tmctl_setQueueCfg", setQueue},
    {"tmctl_delQueueCfg", deleteQueue},
    {"ioctl", ioctlCall},
    {"open", nothing},
    {"write", writeAttribute},
    {"log", logLine},
};

}  // namespace

Replay::Replay(const std::vector<virtual_onu::TraceEntry>& trace) {
    for (const auto& entry : trace) {
        const auto maker = kMakers.find(entry.name);
        const Call call = maker == kMakers.end() ? nullptr : maker->second(tokensOf(entry.arguments));
        if (call == nullptr) {
            std::fprintf(stderr, "cannot replay %s\n", entry.text().c_str());
            std::exit(1);
        }
        calls_.push_back(call);
    }
}

void Replay::run(Answers& answers) const {
    for (const Call& call : calls_) call(answers);
}
