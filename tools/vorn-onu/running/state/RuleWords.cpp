#include "running/state/RuleWords.h"

#include <algorithm>
#include <map>

#include "running/io/Words.h"

namespace vorn_onu {

namespace {

// A term taken apart: "pbits0:=pbits1" is field pbits, tag 0, set, value "pbits1".
struct Term {
    std::string field;
    unsigned tag = 0;
    bool sets = false;
    std::string value;
};

bool carriesTag(const std::string& field) {
    return field == "pbits" || field == "cfi" || field == "vid" || field == "tagtype";
}

Term termOf(const std::string& text) {
    Term term;
    const auto equals = text.find('=');
    term.sets = equals != std::string::npos && equals > 0 && text[equals - 1] == ':';
    term.field = text.substr(0, term.sets ? equals - 1 : equals);
    if (equals != std::string::npos) term.value = text.substr(equals + 1);
    if (!term.field.empty() && term.field.back() >= '0' && term.field.back() <= '9') {
        const std::string name = term.field.substr(0, term.field.size() - 1);
        if (carriesTag(name)) {
            term.tag = static_cast<unsigned>(term.field.back() - '0');
            term.field = name;
        }
    }
    return term;
}

const std::map<std::string, std::string>& typeNames() {
    static const std::map<std::string, std::string> names = {
        {"0x0800", "IPv4"},          {"0x0806", "ARP"},   {"0x86dd", "IPv6"},        {"0x8863", "PPPoE discovery"},
        {"0x8864", "PPPoE session"}, {"0x888e", "EAPOL"}, {"0x8100", "TPID 0x8100"}, {"0x88a8", "TPID 0x88a8"}};
    return names;
}

std::string typeName(const std::string& value) {
    const auto name = typeNames().find(value);
    return name != typeNames().end() ? name->second : "type " + value;
}

std::string fieldWord(const std::string& field) {
    if (field == "pbits") return "p-bits";
    if (field == "cfi") return "DEI";
    if (field == "vid") return "VID";
    return "type";
}

std::string tagName(unsigned tag) {
    if (tag == 0) return "outer";
    return tag == 1 ? "second" : "third";
}

std::string framesByTags(const std::set<unsigned>& tags) {
    if (tags == std::set<unsigned>{0}) return "untagged frames";
    if (tags == std::set<unsigned>{1}) return "single-tagged frames";
    if (tags == std::set<unsigned>{2}) return "double-tagged frames";
    if (tags.count(0) != 0 && tags.size() > 1) return "any frames";
    if (tags.size() > 1) return "tagged frames";
    return "frames with " + std::to_string(*tags.begin()) + " tags";
}

// What is said of the tags, each tag's VID first: {outermost tag: {"VID 100", "p-bits 5"}}.
class TagWords {
public:
    void add(unsigned tag, const std::string& field, const std::string& words) {
        static const std::vector<std::string> kOrder = {"vid", "pbits", "cfi"};
        const auto rank = std::find(kOrder.begin(), kOrder.end(), field) - kOrder.begin();
        byTag_[tag].emplace(rank, words);
    }
    std::string of(unsigned tag) const {
        const auto found = byTag_.find(tag);
        if (found == byTag_.end()) return "";
        std::vector<std::string> words;
        for (const auto& [rank, text] : found->second) words.push_back(text);
        return joined(words);
    }
    std::vector<unsigned> tags() const {
        std::vector<unsigned> all;
        for (const auto& [tag, words] : byTag_) all.push_back(tag);
        return all;
    }

private:
    std::map<unsigned, std::multimap<std::ptrdiff_t, std::string>> byTag_;
};

bool isTpid(const std::string& value) {
    return value == "0x8100" || value == "0x88a8" || value == "0x9100";
}

// The tag that a type word is the TPID of: the one in front of the frame of tag 0, the one inside a tag of the next.
unsigned tagOfType(const Term& term) {
    return term.field == "type" ? 0 : term.tag + 1;
}

// What a frame must be: "VID 100, p-bits 5" of the outer tag, then of the others, then the rest.
std::string filterWords(const std::vector<Term>& filters) {
    TagWords tags;
    std::vector<std::string> rest;
    for (const Term& term : filters) {
        if (term.field == "gem")
            rest.push_back("GEM index " + term.value);
        else if (term.field == "ipproto")
            rest.push_back(term.value == "2" ? "IGMP" : "IP protocol " + term.value);
        else if (carriesTag(term.field) && term.field != "tagtype")
            tags.add(term.tag, term.field, fieldWord(term.field) + " " + term.value);
        else if (isTpid(term.value))
            tags.add(tagOfType(term), "tpid", "TPID " + term.value);
        else
            rest.push_back(typeName(term.value));
    }
    std::vector<std::string> words;
    for (const unsigned tag : tags.tags()) {
        const bool named = tag > 0 || tags.tags().size() > 1;
        words.push_back((named ? tagName(tag) + " tag " : "") + tags.of(tag));
    }
    words.insert(words.end(), rest.begin(), rest.end());
    return joined(words);
}

// "p-bits 5", "p-bits of the second tag", "p-bits from DSCP"
std::string setWords(const Term& term) {
    const std::string word = fieldWord(term.field);
    if (term.value == "dscp") return word + " from DSCP";
    const bool copies = term.value.find_first_of("0123456789") != 0;
    return word +
           (copies ? " of the " + tagName(static_cast<unsigned>(term.value.back() - '0')) + " tag" : " " + term.value);
}

// What is written to the tags. A pushed tag has TPID 0x8100 without saying so.
TagWords writtenWords(const std::vector<Term>& commands, unsigned pushes) {
    TagWords written;
    for (const Term& term : commands) {
        if (term.field == "type" || (term.field == "tagtype" && isTpid(term.value))) {
            const unsigned tag = tagOfType(term);
            if (tag >= pushes || term.value != "0x8100")
                written.add(tag, "tpid", isTpid(term.value) ? "TPID " + term.value : typeName(term.value));
        } else if (term.field == "tagtype" && term.value.rfind("0x", 0) == 0) {
            written.add(term.tag, "tpid", typeName(term.value) + " inside");
        } else if (carriesTag(term.field)) {
            written.add(term.tag, term.field, setWords(term));
        }
    }
    return written;
}

std::string actionWords(const std::vector<Term>& commands) {
    std::vector<std::string> words, marks;
    unsigned pushes = 0, pops = 0;
    for (const Term& term : commands) {
        if (term.field == "drop") return "drop";
        if (term.field == "push") ++pushes;
        if (term.field == "pop") ++pops;
        if (term.field == "mark-gem") marks.push_back("GEM index " + term.value);
        if (term.field == "mark-queue") marks.push_back("queue " + term.value);
    }
    if (pops > 0) words.emplace_back(pops == 1 ? "pop the outer tag" : "pop " + std::to_string(pops) + " tags");
    const TagWords written = writtenWords(commands, pushes);
    for (unsigned tag = pushes; tag-- > 0;)
        words.push_back("push " + (written.of(tag).empty() ? "a tag" : written.of(tag)));
    for (const unsigned tag : written.tags())
        if (tag >= pushes) words.push_back("set " + (tag > 0 ? tagName(tag) + " tag " : "") + written.of(tag));
    if (!marks.empty()) words.push_back("to " + joined(marks));
    return words.empty() ? "as they are" : joined(words);
}

}  // namespace

std::string RuleWords::sentence() const {
    return frames + " from " + from + ": " + action + (to.empty() ? "" : " → " + to);
}

RuleWords ruleWords(const std::string& device, bool receive, const std::set<unsigned>& tags,
                    const std::vector<std::string>& terms) {
    RuleWords words;
    words.from = receive ? device : "";
    words.to = receive ? "" : device;
    std::vector<Term> filters, commands;
    for (const std::string& text : terms) {
        const Term term = termOf(text);
        if (term.field == "rxdev")
            words.to = term.value;
        else if (term.field == "txdev")
            words.from = term.value;
        else if (term.sets || term.field == "push" || term.field == "pop" || term.field == "drop" ||
                 term.field.rfind("mark-", 0) == 0)
            commands.push_back(term);
        else
            filters.push_back(term);
    }
    const std::string with = filterWords(filters);
    words.frames = framesByTags(tags) + (with.empty() ? "" : " with " + with);
    words.action = actionWords(commands);
    if (words.from.empty()) words.from = "any device";
    if (words.action == "drop") words.to.clear();
    return words;
}

}  // namespace vorn_onu
