#include "living/Layout.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "omci/message/Contents.h"
#include "omci/message/ValueText.h"
#include "running/io/Files.h"

namespace vorn_onu {

namespace {

using omci::BoardNumbering;
using omci::BoardQueue;
using omci::InstanceId;
using Instances = std::vector<InstanceId>;
using Values = std::map<std::string, std::string>;

constexpr std::size_t kMaxLayoutBytes = std::size_t{1} << 20U;
constexpr std::size_t kMaxInstances = 4096;  // of one key
constexpr const char* kKeys[] = {"ethernetPorts", "veips", "tConts", "ani", "upstreamQueues", "downstreamQueues"};

[[noreturn]] void refuseLayout(const std::string& key, const std::string& why) {
    throw std::invalid_argument("the layout: " + key + " " + why);
}

InstanceId instanceOf(const std::string& key, const std::string& text) {
    std::size_t end = 0;
    unsigned long number = 0x10000;
    try {
        if (!text.empty() && text.front() >= '0' && text.front() <= '9') number = std::stoul(text, &end, 0);
    } catch (const std::exception&) {
        end = 0;
    }
    if (end == 0 || end != text.size() || number > 0xFFFE)
        refuseLayout(key, "must be instances from 0 to 0xFFFE, not '" + text + "'");
    return static_cast<InstanceId>(number);
}

// By rising numbers, each once.
Instances instancesOf(const std::string& key, const std::string& value) {
    std::set<InstanceId> instances;
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = value.find(',', begin);
        const std::string part = value.substr(begin, end == std::string::npos ? end : end - begin);
        const auto range = part.find("..");
        const InstanceId first = instanceOf(key, part.substr(0, range));
        const InstanceId last = range == std::string::npos ? first : instanceOf(key, part.substr(range + 2));
        if (last < first) refuseLayout(key, "has a range that ends before it begins: '" + part + "'");
        for (unsigned one = first; one <= last; ++one) instances.insert(static_cast<InstanceId>(one));
        if (instances.size() > kMaxInstances) refuseLayout(key, "has more than 4096 instances");
    }
    return {instances.begin(), instances.end()};
}

std::string layoutText(const std::string& key, const nlohmann::json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number_unsigned()) return std::to_string(value.get<std::uint64_t>());
    if (!value.is_array() || value.empty()) refuseLayout(key, "must be a number, a text or a list of them");
    std::string text;
    for (const auto& one : value) {
        if (one.is_array()) refuseLayout(key, "has a list in its list");
        text += (text.empty() ? "" : ",") + layoutText(key, one);
    }
    return text;
}

void addFile(const std::string& path, Values& values) {
    const auto json = nlohmann::json::parse(readFile(path, kMaxLayoutBytes), nullptr, false, true);
    if (!json.is_object()) throw FileProblem(path, "is no layout: an object in JSON is expected");
    for (const auto& [key, value] : json.items()) values[key] = layoutText(key, value);
}

// The queues in order, shared out evenly among those that they belong to.
void shareOut(const std::string& key, const Instances& queues, const Instances& related, bool upstream,
              std::vector<BoardQueue>& all) {
    if (related.empty() || queues.size() % related.size() != 0)
        refuseLayout(key, "cannot be shared out: " + std::to_string(queues.size()) + " queues for " +
                              std::to_string(related.size()) + (upstream ? " T-CONTs" : " ports"));
    const std::size_t each = queues.size() / related.size();
    for (std::size_t at = 0; at < queues.size(); ++at) {
        if ((queues[at] >= 0x8000) != upstream)
            refuseLayout(key, upstream ? "must be 0x8000 and up" : "must be less than 0x8000");
        all.push_back({queues[at], related[at / each], static_cast<std::uint16_t>(at % each)});
    }
}

// The usual numbers where the layout has none.
omci::Board boardWith(const BoardNumbering& numbering) {
    omci::Board board;
    omci::setNumbering(board, numbering);
    return board;
}

Instances tContsOf(const omci::Board& board) {
    Instances all;
    for (unsigned at = 0; at < board.tConts; ++at) all.push_back(omci::tContInstance(board, at));
    return all;
}

Instances allPortsOf(const omci::Board& board) {
    Instances all;
    for (unsigned at = 0; at < board.ethernetPorts; ++at) all.push_back(omci::ethernetPortInstance(board, at));
    for (unsigned at = 0; at < board.veips; ++at) all.push_back(omci::veipInstance(board, at));
    return all;
}

std::vector<BoardQueue> usualQueues(const omci::Board& board, bool upstream) {
    std::vector<BoardQueue> all;
    const Instances related = upstream ? tContsOf(board) : allPortsOf(board);
    for (unsigned at = 0; at < related.size(); ++at) {
        for (unsigned queue = 0; queue < board.queues; ++queue)
            all.push_back({upstream ? omci::upstreamQueueInstance(board, at, queue)
                                    : omci::downstreamQueueInstance(board, at, queue),
                           related[at], static_cast<std::uint16_t>(queue)});
    }
    return all;
}

BoardNumbering numberingOf(const Values& values) {
    BoardNumbering numbering;
    const auto given = [&values](const char* key) {
        const auto found = values.find(key);
        return found == values.end() ? Instances{} : instancesOf(key, found->second);
    };
    numbering.ethernetPorts = given("ethernetPorts");
    numbering.veips = given("veips");
    numbering.tConts = given("tConts");
    for (const Instances* list : {&numbering.ethernetPorts, &numbering.veips, &numbering.tConts})
        if (list->size() > 254) refuseLayout("list", "has more than 254 instances");
    const Instances ani = given("ani"), up = given("upstreamQueues"), down = given("downstreamQueues");
    if (ani.size() > 1) refuseLayout("ani", "is one instance");
    if (!ani.empty()) numbering.ani = ani.front();
    if (up.empty() && down.empty()) return numbering;
    const omci::Board board = boardWith(numbering);
    std::vector<BoardQueue> queues;
    for (const bool upstream : {true, false}) {
        const Instances& list = upstream ? up : down;
        const char* key = upstream ? "upstreamQueues" : "downstreamQueues";
        if (!list.empty()) {
            shareOut(key, list, upstream ? tContsOf(board) : allPortsOf(board), upstream, queues);
            continue;
        }
        const auto usual = usualQueues(board, upstream);
        queues.insert(queues.end(), usual.begin(), usual.end());
    }
    numbering.queues = std::move(queues);
    return numbering;
}

// Collects the entities of an upload that number the board.
class Upload {
public:
    void add(const omci::UploadEntry& entry) {
        const omci::InstanceId instance = entry.entity.instance;
        switch (entry.entity.classId) {
            case omci::class_id::kEthernetUni:
                ports_.insert(instance);
                break;
            case omci::class_id::kVeip:
                veips_.insert(instance);
                break;
            case omci::class_id::kTCont:
                tConts_.insert(instance);
                break;
            case omci::class_id::kAniG:
                if (!ani_) ani_ = instance;
                break;
            case omci::class_id::kPriorityQueue:
                addQueue(entry);
                break;
            default:
                break;
        }
    }
    BoardNumbering numbering() const {
        BoardNumbering numbering;
        numbering.ethernetPorts.assign(ports_.begin(), ports_.end());
        numbering.veips.assign(veips_.begin(), veips_.end());
        numbering.tConts.assign(tConts_.begin(), tConts_.end());
        numbering.ani = ani_;
        for (const auto& [instance, related] : queues_)
            numbering.queues.push_back(
                {instance, static_cast<InstanceId>(related >> 16U), static_cast<std::uint16_t>(related & 0xFFFFU)});
        return numbering;
    }

private:
    void addQueue(const omci::UploadEntry& entry) {
        const auto split = omci::splitValues(*omci::findClass(omci::class_id::kPriorityQueue), entry.mask, entry.values,
                                             omci::Tables::kSizes);
        for (const auto& value : split.values)
            if (value.attribute->number == omci::attr::priority_queue::kRelatedPort)
                queues_[entry.entity.instance] = omci::number32(value.value, 0);
    }

    std::set<InstanceId> ports_, veips_, tConts_;
    std::optional<InstanceId> ani_;
    std::map<InstanceId, std::uint32_t> queues_;
};

std::string listWords(const std::string& name, const Instances& list, const Instances& usual) {
    if (list.empty() || list == usual) return "";
    const bool row = std::size_t{list.back()} - list.front() + 1 == list.size();
    std::string text = name;
    for (std::size_t at = 0; at < list.size() && (!row || at == 0); ++at)
        text += (at == 0 ? " " : ", ") + omci::hexNumber(list[at], 4);
    return row && list.size() > 1 ? text + " to " + omci::hexNumber(list.back(), 4) : text;
}

}  // namespace

omci::BoardNumbering layoutInUpload(const MessageFile& file) {
    Upload upload;
    for (const FileMessage& one : file.messages) {
        if (!one.message.isAnswer || one.message.type != omci::MessageType::kMibUploadNext) continue;
        const omci::DecodedContent decoded = omci::decodeContent(one.message);
        if (const auto* entries = std::get_if<omci::UploadEntries>(&decoded.content))
            for (const omci::UploadEntry& entry : entries->entries) upload.add(entry);
    }
    return upload.numbering();
}

omci::BoardNumbering layoutOf(const std::vector<std::string>& words) {
    Values values;
    for (const std::string& word : words) {
        const auto equals = word.find('=');
        if (equals == std::string::npos)
            addFile(word, values);
        else
            values[word.substr(0, equals)] = word.substr(equals + 1);
    }
    for (const auto& [key, value] : values)
        if (std::find(std::begin(kKeys), std::end(kKeys), key) == std::end(kKeys))
            refuseLayout("'" + key + "'",
                         "is not known; keys are ethernetPorts, veips, tConts, ani, upstreamQueues, downstreamQueues");
    return numberingOf(values);
}

std::string layoutWords(const omci::BoardNumbering& numbering) {
    const omci::Board usual;
    const auto all = allPortsOf(usual);
    const auto veips = all.begin() + usual.ethernetPorts;
    Instances queues, usualQueueList;
    for (const auto& queue : numbering.queues) queues.push_back(queue.instance);
    for (const bool upstream : {false, true})
        for (const auto& queue : usualQueues(usual, upstream)) usualQueueList.push_back(queue.instance);
    std::sort(queues.begin(), queues.end());
    std::string text;
    const auto add = [&text](const std::string& words) {
        if (!words.empty()) text += (text.empty() ? "" : ", ") + words;
    };
    add(listWords("Ethernet ports", numbering.ethernetPorts, {all.begin(), veips}));
    add(listWords("VEIPs", numbering.veips, {veips, all.end()}));
    add(listWords("T-CONTs", numbering.tConts, tContsOf(usual)));
    if (numbering.ani) add(listWords("ANI-G", {*numbering.ani}, {omci::aniInstance(usual)}));
    if (!queues.empty() && queues != usualQueueList)
        add(std::to_string(queues.size()) + " queues, the first " + omci::hexNumber(queues.front(), 4));
    return text;
}

}  // namespace vorn_onu
