#include "views/MibText.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include <nlohmann/json.hpp>

#include "omci/message/Numbers.h"
#include "running/io/Printed.h"
#include "running/io/Words.h"

namespace vorn_onu {

namespace {

using MibKey = std::pair<unsigned, unsigned>;  // class, instance

MibKey mibKey(const nlohmann::json& one) {
    return {one.at("class").get<unsigned>(), one.at("instance").get<unsigned>()};
}

std::string entityName(const nlohmann::json& entity) {
    return oneLine(entity.at("entity").get<std::string>());
}

bool isUnset(const std::string& digits) {
    return digits.find_first_not_of('0') == std::string::npos;
}

// "Alloc-ID 1024, Policy WRR": attributes that are neither tables nor in skipped; with onlySet without those of zeros.
std::string attributeWords(const nlohmann::json& entity, const std::set<unsigned>& skipped, bool onlySet) {
    std::vector<std::string> words;
    for (const nlohmann::json& attribute : entity.at("attributes")) {
        if (attribute.contains("rows") || skipped.count(attribute.at("number").get<unsigned>()) != 0) continue;
        if (onlySet && isUnset(attribute.at("bytes").get<std::string>())) continue;
        words.push_back(
            oneLine(attribute.at("name").get<std::string>() + " " + attribute.at("value").get<std::string>()));
    }
    return joined(words);
}

std::vector<std::string> rowLines(const nlohmann::json& entity) {
    std::vector<std::string> rows;
    for (const nlohmann::json& attribute : entity.at("attributes")) {
        if (!attribute.contains("rows")) continue;
        std::size_t number = 0;
        for (const nlohmann::json& row : attribute["rows"])
            rows.push_back(oneLine(attribute.at("name").get<std::string>() + " " + std::to_string(++number) + ": " +
                                   row.get<std::string>()));
    }
    return rows;
}

// ---- the tree ----

namespace ids = omci::class_id;

// What points at these belongs to them.
bool isOwner(unsigned classId) {
    return classId == ids::kBridge || classId == ids::kBridgePort || classId == ids::kMapper ||
           classId == ids::kEthernetUni || classId == ids::kVeip || classId == ids::kIpHost;
}

// Where pointers are not followed to: the bridge itself, and what is of the whole ONU.
bool isAbove(unsigned classId) {
    return classId == ids::kBridge || classId == ids::kCardholder || classId == ids::kThreshold1;
}

class MibTree {
public:
    explicit MibTree(const nlohmann::json& mib) {
        for (const nlohmann::json& one : mib) entities_[mibKey(one)] = &one;
        for (const nlohmann::json& one : mib)
            for (const nlohmann::json& pointer : one.at("pointers")) pointers_[mibKey(pointer)].push_back(mibKey(one));
    }

    std::vector<MibNode> nodes() {
        for (const auto& [key, entity] : entities_)
            if (key.first == ids::kBridge) add(key, 0, "", "");
        std::vector<MibKey> left;
        for (const auto& [key, entity] : entities_)
            if (entity->at("maker") == "olt" && shown_.count(key) == 0) left.push_back(key);
        isFree_ = true;
        for (const MibKey& key : left)
            if (shown_.count(key) == 0) add(key, 0, "", "");
        return std::move(nodes_);
    }

private:
    struct Child {
        MibKey key;
        std::string how;  // "Interwork TP pointer for P-bit priority 0"; "" for what belongs to it
        bool exists;
    };

    static std::string attributeName(const nlohmann::json& entity, unsigned number) {
        for (const nlohmann::json& attribute : entity.at("attributes"))
            if (attribute.at("number") == number) return oneLine(attribute.at("name").get<std::string>());
        return "";
    }

    std::vector<Child> childrenOf(const MibKey& key, const nlohmann::json& entity) const {
        std::vector<Child> children;
        for (const nlohmann::json& pointer : entity.at("pointers")) {
            const MibKey target = mibKey(pointer);
            const unsigned number = pointer.at("attribute").get<unsigned>();
            const bool exists = entities_.count(target) != 0;
            // The number 0 often means nothing, and so does an instance of its own that is not there.
            if (isAbove(target.first) || (!exists && (target.second == 0 || number == 0))) continue;
            if (number == 0 && isOwner(target.first)) continue;  // it belongs there
            children.push_back({target, number == 0 ? "same instance" : attributeName(entity, number), exists});
        }
        if (!isOwner(key.first)) return children;
        const auto found = pointers_.find(key);
        if (found == pointers_.end()) return children;
        for (const MibKey& one : found->second) children.push_back({one, "", true});
        return children;
    }

    void add(const MibKey& key, std::size_t depth, const std::string& how, const std::string& missing) {
        MibNode node;
        node.depth = depth;
        node.how = how;
        node.isFree = isFree_;
        const auto found = entities_.find(key);
        node.exists = found != entities_.end();
        node.entity = node.exists ? entityName(*found->second) : missing;
        node.isAbove = node.exists && !shown_.insert(key).second;
        if (!node.exists || node.isAbove) return nodes_.push_back(std::move(node));
        const nlohmann::json& entity = *found->second;
        std::set<unsigned> pointers;
        for (const nlohmann::json& pointer : entity.at("pointers"))
            pointers.insert(pointer.at("attribute").get<unsigned>());
        node.attributes = attributeWords(entity, pointers, true);
        node.rows = rowLines(entity);
        nodes_.push_back(std::move(node));
        std::set<MibKey> here;
        for (const Child& child : childrenOf(key, entity)) {
            // Who belongs to somebody else that is on the way up is not shown a second time.
            if (child.how.empty() && shown_.count(child.key) != 0) continue;
            if (!here.insert(child.key).second) continue;
            add(child.key, depth + 1, child.how, child.exists ? "" : missingName(entity, child.key));
        }
    }

    static std::string missingName(const nlohmann::json& entity, const MibKey& key) {
        for (const nlohmann::json& pointer : entity.at("pointers"))
            if (mibKey(pointer) == key) return oneLine(pointer.at("entity").get<std::string>());
        return "";
    }

    std::map<MibKey, const nlohmann::json*> entities_;
    std::map<MibKey, std::vector<MibKey>> pointers_;  // who points there
    std::set<MibKey> shown_;
    bool isFree_ = false;
    std::vector<MibNode> nodes_;
};

// ---- differences ----

// Value by name; rows of a table together.
std::map<std::string, std::string> valuesOf(const nlohmann::json& entity) {
    std::map<std::string, std::string> values;
    for (const nlohmann::json& attribute : entity.at("attributes")) {
        const std::string name = oneLine(attribute.at("name").get<std::string>());
        if (!attribute.contains("rows")) {
            values[name] = oneLine(attribute.at("value").get<std::string>());
            continue;
        }
        std::vector<std::string> rows;
        for (const nlohmann::json& row : attribute["rows"]) rows.push_back(oneLine(row.get<std::string>()));
        values[name] = rows.empty() ? "no rows" : joined(rows, "; ");
    }
    return values;
}

std::map<MibKey, const nlohmann::json*> byKey(const nlohmann::json& mib) {
    std::map<MibKey, const nlohmann::json*> entities;
    for (const nlohmann::json& one : mib) entities[mibKey(one)] = &one;
    return entities;
}

}  // namespace

std::string mibTable(const nlohmann::json& mib, const Terminal& terminal) {
    std::string text;
    for (const nlohmann::json& entity : mib) {
        const std::string head = std::to_string(entity.at("class").get<unsigned>()) + "  " + entityName(entity);
        const std::string words = attributeWords(entity, {}, false);
        text += terminal.bold(head) + "\n";
        if (!words.empty()) text += "    " + hanging(words, terminal.width(), 4) + "\n";
        for (const std::string& row : rowLines(entity)) text += "    " + hanging(row, terminal.width(), 6) + "\n";
    }
    return text;
}

std::vector<MibNode> mibNodes(const nlohmann::json& mib) {
    return MibTree(mib).nodes();
}

std::string mibTree(const nlohmann::json& mib, const Terminal& terminal) {
    std::string text;
    const auto line = [&](const std::string& indent, const std::string& words, bool bold) {
        const std::string whole = indent + hanging(words, terminal.width(), indent.size() + 2);
        text += (bold ? terminal.bold(whole) : whole) + "\n";
    };
    bool isFree = false;
    for (const MibNode& node : mibNodes(mib)) {
        if (node.isFree && !isFree) text += terminal.bold("No bridge leads to") + "\n";
        isFree = node.isFree;
        const std::string indent(2 * node.depth, ' ');
        const std::string note = !node.exists ? " (does not exist)" : node.isAbove ? " (above)" : "";
        line(indent,
             (node.how.empty() ? "" : node.how + " → ") + node.entity + note +
                 (node.attributes.empty() ? "" : ": " + node.attributes),
             node.depth == 0);
        for (const std::string& row : node.rows) line(indent + "    ", row, false);
    }
    return text.empty() ? "The OLT has made no entities.\n" : text;
}

std::vector<std::string> mibDifferences(const nlohmann::json& before, const nlohmann::json& after) {
    const auto old = byKey(before), now = byKey(after);
    std::vector<std::string> lines;
    for (const auto& [key, entity] : old)
        if (now.count(key) == 0) lines.push_back("gone: " + entityName(*entity));
    for (const auto& [key, entity] : now) {
        const auto found = old.find(key);
        const auto values = valuesOf(*entity);
        if (found == old.end()) {
            const std::string words = attributeWords(*entity, {}, true);
            lines.push_back("new: " + entityName(*entity) + (words.empty() ? "" : ": " + words));
            continue;
        }
        for (const auto& [name, value] : valuesOf(*found->second)) {
            const auto other = values.find(name);
            const std::string there = other == values.end() ? "not there" : other->second;
            if (there != value) lines.push_back(entityName(*entity) + ": " + name + ": " + value + " → " + there);
        }
    }
    return lines;
}

}  // namespace vorn_onu
