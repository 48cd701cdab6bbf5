#include "shell/Runner.h"

#include <algorithm>
#include <cstdlib>
#include <map>

#include <nlohmann/json.hpp>

#include "Core.h"
#include "Facilities.h"
#include "Section.h"

namespace virtual_onu::runner {
namespace {

using Words = std::vector<std::string>;

constexpr std::size_t kRemarksKept = 1000;

struct Entry {
    std::string attribute, key, value;  // flow, {dst_mac=...}, {action=host}
};

struct Object {
    std::string name;  // "ingress_class/dir=us,index=12"
    std::string configuration;
    std::map<std::string, std::string> attributes;
    std::vector<Entry> entries;
    std::uint64_t order = 0;  // of creation
};

struct State {
    std::vector<Object> objects;    // made by commands, in the order of creation
    std::vector<Object> built;      // built into the runner; only their settings can change
    std::vector<std::string> keys;  // of the ingress queue
    bool ingressQueueOn = true;
    std::vector<std::string> remarks;
    std::uint64_t created = 0;
};

State& state() {
    static State& theState = *new State;
    return theState;
}

// ---- as sections of a board file ----

struct IngressQueue {
    bool enabled = true;
    std::vector<std::string> keys;
};

template <typename Record>
void describe(Record& record, Entry& entry) {
    record.text("attribute", entry.attribute);
    record.text("key", entry.key);
    record.text("result", entry.value);
}

template <typename Record>
void describe(Record& record, Object& object) {
    record.number("order", object.order);
    record.text("configuration", object.configuration);
    record.textsByName("attributes", object.attributes);
    record.list("entries", object.entries);
}

template <typename Record>
void describe(Record& record, IngressQueue& queue) {
    record.flag("enabled", queue.enabled);
    record.texts("keys", queue.keys);
}

template <std::vector<Object> State::*kList>
struct Objects : persistence::Keyed<std::string, Object> {
    static auto find(const std::string& name) {
        auto& objects = state().*kList;
        return std::find_if(objects.begin(), objects.end(), [&](const Object& one) { return one.name == name; });
    }
    static std::vector<std::string> keys() {
        std::vector<std::string> names;
        for (const Object& object : state().*kList) names.push_back(object.name);
        return names;
    }
    static std::optional<Object> get(const std::string& name) {
        const auto found = find(name);
        return found == (state().*kList).end() ? std::nullopt : std::optional<Object>(*found);
    }
    static void put(const std::string& name, Object object) {
        Objects::remove(name);
        object.name = name;
        state().created = std::max(state().created, object.order);
        auto& objects = state().*kList;
        const auto after =
            std::find_if(objects.begin(), objects.end(), [&](const Object& one) { return one.order > object.order; });
        objects.insert(after, std::move(object));
    }
    static void remove(const std::string& name) {
        const auto found = find(name);
        if (found != (state().*kList).end()) (state().*kList).erase(found);
    }
};

struct Queue : persistence::Single<IngressQueue> {
    static IngressQueue get() { return {state().ingressQueueOn, state().keys}; }
    static void put(IngressQueue queue) {
        state().ingressQueueOn = queue.enabled;
        state().keys = std::move(queue.keys);
    }
};

struct Remarks : persistence::Single<std::vector<std::string>> {
    template <typename Record>
    static void fields(Record& record, Thing& remarks) {
        record.texts("remarks", remarks);
    }
    static Thing get() { return state().remarks; }
    static void put(Thing remarks) { state().remarks = std::move(remarks); }
};

void remark(const std::string& text) {
    if (state().remarks.size() < kRemarksKept) state().remarks.push_back(text);
    persistence::changed(persistence::kRunRemarks);
}

std::string joined(const Words& words, std::size_t first) {
    std::string text;
    for (std::size_t i = first; i < words.size(); ++i) text += (i == first ? "" : " ") + words[i];
    return text;
}

// Splits at commas outside braces and brackets.
Words splitList(const std::string& text) {
    Words parts(1);
    int depth = 0;
    for (const char c : text) {
        if (c == '{' || c == '[') ++depth;
        if (c == '}' || c == ']') --depth;
        if (c == ',' && depth == 0) {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

// "name=value" at its first equals sign outside brackets.
std::pair<std::string, std::string> splitSetting(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) return {text, ""};
    return {text.substr(0, equals), text.substr(equals + 1)};
}

std::string typeOf(const std::string& name) {
    return name.substr(0, name.find('/'));
}

bool isBuiltIn(const std::string& name) {
    const std::string type = typeOf(name);
    return type == "egress_tm" || type == "port" || type == "ip_class" || type == "system";
}

Object* find(std::vector<Object>& objects, const std::string& name) {
    for (auto& object : objects) {
        if (object.name == name) return &object;
    }
    return nullptr;
}

void changed(const Object& object) {
    const bool builtIn = find(state().objects, object.name) == nullptr && find(state().built, object.name) != nullptr;
    persistence::changed(builtIn ? persistence::kBuiltIn : persistence::kRunnerObjects, object.name);
}

// The object that a command names; built-in ones appear with their first setting. Null with a remark when it is absent.
Object* named(const std::string& name) {
    if (Object* object = find(state().objects, name)) return object;
    if (!isBuiltIn(name)) {
        remark("no object " + name);
        return nullptr;
    }
    if (Object* object = find(state().built, name)) return object;
    state().built.emplace_back();
    state().built.back().name = name;
    state().built.back().order = ++state().created;
    changed(state().built.back());
    return &state().built.back();
}

void set(Object& object, const std::string& settings) {
    changed(object);
    for (const auto& setting : splitList(settings)) {
        const auto [name, value] = splitSetting(setting);
        object.attributes[name] = value;
    }
}

// ---- bs ----

// "ingress_class/dir=us,index=12,cfg={...}": the part from cfg on describes the new object.
bool create(const Words& words) {
    Object object;
    for (const auto& part : splitList(words[1])) {
        const auto [name, value] = splitSetting(part);
        if (name == "cfg") {
            object.configuration = value;
        } else {
            object.name += (object.name.empty() ? "" : ",") + part;
        }
    }
    if (find(state().objects, object.name) != nullptr) {
        remark("object exists: " + object.name);
        return true;
    }
    if (words.size() > 2) set(object, joined(words, 2));
    object.order = ++state().created;
    changed(object);
    state().objects.push_back(std::move(object));
    return true;
}

bool destroy(const Words& words) {
    auto& objects = state().objects;
    const auto found =
        std::find_if(objects.begin(), objects.end(), [&](const Object& object) { return object.name == words[1]; });
    if (found == objects.end()) {
        remark("no object " + words[1]);
    } else {
        changed(*found);
        objects.erase(found);
    }
    return true;
}

bool configure(const Words& words) {
    if (words.size() < 3) return false;
    if (Object* object = named(words[1])) {
        for (std::size_t i = 2; i < words.size(); ++i) set(*object, words[i]);
    }
    return true;
}

// "ingress_class/dir=ds,index=10 flow string key={...},result={...}"
bool addEntry(const Words& words) {
    if (words.size() < 4) return false;
    Entry entry;
    entry.attribute = words[2];
    for (const auto& part : splitList(joined(words, words[3] == "string" ? 4 : 3))) {
        const auto [name, value] = splitSetting(part);
        if (name == "key") entry.key = value;
        if (name == "result") entry.value = value;
    }
    if (entry.key.empty()) return false;
    Object* object = named(words[1]);
    if (object == nullptr) return true;
    for (auto& known : object->entries) {
        if (known.attribute != entry.attribute || known.key != entry.key) continue;
        remark("entry exists: " + object->name + " " + entry.key);
        return true;
    }
    object->entries.push_back(std::move(entry));
    changed(*object);
    return true;
}

bool examine(const Words&) {
    return true;
}

using Verb = bool (*)(const Words&);
const std::map<std::string, Verb>& verbs() {
    // Never destroyed: threads of the HAL outlive main().
    static const auto& table = *new const std::map<std::string, Verb>{
        {"/b/n", create},
        {"/bdmf/new", create},
        {"/b/d", destroy},
        {"/bdmf/d", destroy},
        {"/bdmf/delete", destroy},
        {"/b/c", configure},
        {"/bdmf/configure", configure},
        {"/b/a", addEntry},
        {"/bdmf/attr/add", addEntry},
        {"/b/e", examine},
        {"/bdmf/examine", examine},
    };
    return table;
}

// ---- iq ----

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

// "key --dstmac 02:..." is the start of "key --dstmac 02:... --prio 1", word by word.
bool isOfKey(const std::string& kept, const std::string& wanted) {
    return startsWith(kept, wanted) && (kept.size() == wanted.size() || kept[wanted.size()] == ' ');
}

void addKey(const std::string& text) {
    auto& keys = state().keys;
    if (std::find(keys.begin(), keys.end(), text) != keys.end()) {
        remark("ingress-queue entry exists: " + text);
    } else {
        keys.push_back(text);
    }
}

void removeKeys(const std::string& text) {
    auto& keys = state().keys;
    const auto rest =
        std::remove_if(keys.begin(), keys.end(), [&](const std::string& kept) { return isOfKey(kept, text); });
    if (rest == keys.end()) remark("no ingress-queue entry " + text);
    keys.erase(rest, keys.end());
}

// ---- frames ----

// "{a=1,b={c}}" as a=1 and b={c}.
std::map<std::string, std::string> settingsOf(const std::string& braced) {
    std::map<std::string, std::string> settings;
    if (braced.size() < 2) return settings;
    for (const auto& setting : splitList(braced.substr(1, braced.size() - 2))) settings.insert(splitSetting(setting));
    return settings;
}

unsigned long numberIn(const std::map<std::string, std::string>& settings, const char* name, int base) {
    const auto found = settings.find(name);
    return found == settings.end() ? 0 : std::strtoul(found->second.c_str(), nullptr, base);
}

// The tag that "action={cmd=push+tpid_rem,ovid=100,opbit=0,otpid=8100}" pushes. The TPID is hexadecimal without a mark.
std::optional<VlanTag> pushedTag(const std::string& braced) {
    const auto object = find(state().objects, braced.size() < 2 ? "" : braced.substr(1, braced.size() - 2));
    if (object == nullptr || object->attributes.count("action") == 0) return std::nullopt;
    const auto action = settingsOf(object->attributes.at("action"));
    const auto command = action.find("cmd");
    if (command == action.end() || !startsWith(command->second, "push")) return std::nullopt;
    return VlanTag{static_cast<std::uint16_t>(numberIn(action, "otpid", 16)),
                   static_cast<std::uint8_t>(numberIn(action, "opbit", 0) & 7), false,
                   static_cast<std::uint16_t>(numberIn(action, "ovid", 0) & 0xFFF)};
}

}  // namespace

std::vector<UpstreamClass> upstreamClasses() {
    std::vector<UpstreamClass> classes;
    for (const Object& object : state().objects) {
        if (!startsWith(object.name, "ingress_class/dir=us")) continue;
        for (const Entry& entry : object.entries) {
            const auto key = settingsOf(entry.key), result = settingsOf(entry.value);
            if (key.count("ingress_port") == 0 || result.count("egress_port") == 0) continue;
            const auto action = result.find("vlan_action");
            classes.push_back({object.name, key.at("ingress_port"), result.at("egress_port"),
                               numberIn(key, "vlan_num", 0), numberIn(key, "etype", 0),
                               action == result.end() ? std::nullopt : pushedTag(action->second)});
        }
    }
    return classes;
}

bool runBs(const Words& words) {
    if (words.size() < 2) return false;
    const auto verb = verbs().find(words[0]);
    if (verb == verbs().end()) return false;
    const DeviceAccess lock(deviceMutex());
    deviceChanged();
    return verb->second(words);
}

bool runIq(const Words& words) {
    if (words.empty()) return false;
    const DeviceAccess lock(deviceMutex());
    persistence::changed(persistence::kIngressQueue);
    const std::string& verb = words[0];
    const bool named = words.size() > 1;
    if (verb == "enable" || verb == "disable") {
        state().ingressQueueOn = verb == "enable";
    } else if (verb == "flush") {
        state().keys.clear();
    } else if (named && (verb == "addkey" || verb == "addkeymask")) {
        addKey(verb.substr(3) + " " + joined(words, 1));
    } else if (named && (verb == "remkey" || verb == "remkeymask")) {
        removeKeys(verb.substr(3) + " " + joined(words, 1));
    } else {
        return false;
    }
    return true;
}

void reset() {
    const DeviceAccess lock(deviceMutex());
    state() = State{};
    deviceChanged();
}

persistence::Sections sections() {
    return {persistence::section<Objects<&State::objects>>(persistence::kRunnerObjects),
            persistence::section<Objects<&State::built>>(persistence::kBuiltIn),
            persistence::section<Queue>(persistence::kIngressQueue),
            persistence::section<Remarks>(persistence::kRunRemarks)};
}

nlohmann::json toJson() {
    const State now = [] {
        const DeviceAccess lock(deviceMutex());
        return state();
    }();
    const auto list = [](const std::vector<Object>& objects) {
        nlohmann::json all = nlohmann::json::array();
        for (const auto& object : objects) {
            nlohmann::json entries = nlohmann::json::array();
            for (const auto& entry : object.entries) {
                entries.push_back({{"attribute", entry.attribute}, {"key", entry.key}, {"result", entry.value}});
            }
            all.push_back({{"name", object.name},
                           {"configuration", object.configuration},
                           {"attributes", object.attributes},
                           {"entries", entries}});
        }
        return all;
    };
    return {{"objects", list(now.objects)},
            {"builtIn", list(now.built)},
            {"ingressQueue", {{"enabled", now.ingressQueueOn}, {"keys", now.keys}}},
            {"remarks", now.remarks}};
}

}  // namespace virtual_onu::runner

namespace virtual_onu {

std::vector<std::string> VirtualOnu::runnerObjects() const {
    const DeviceAccess lock(deviceMutex());
    std::vector<std::string> names;
    for (const auto& object : runner::state().objects) names.push_back(object.name);
    return names;
}

std::vector<std::string> VirtualOnu::ingressQueueKeys() const {
    const DeviceAccess lock(deviceMutex());
    return runner::state().keys;
}

}  // namespace virtual_onu
