// Tag rules and trace entries in words.
#include <cstdio>
#include <string>

#include "VirtualOnu.h"

namespace virtual_onu {

namespace {

using Kind = RuleTerm::Kind;

// How a term reads: the field, whether its name carries the tag index, and what is on the right.
enum class Right { Device, Decimal, Type, SameFieldOfTag, Dscp, None };
struct TermForm {
    Kind kind;
    const char* field;
    bool hasTag;
    Right right;
};

constexpr TermForm kTermForms[] = {
    {Kind::RxDevice, "rxdev", false, Right::Device},
    {Kind::TxDevice, "txdev", false, Right::Device},
    {Kind::Pbits, "pbits", true, Right::Decimal},
    {Kind::Cfi, "cfi", true, Right::Decimal},
    {Kind::Vid, "vid", true, Right::Decimal},
    {Kind::TagType, "tagtype", true, Right::Type},
    {Kind::Type, "type", false, Right::Type},
    {Kind::IpProto, "ipproto", false, Right::Decimal},
    {Kind::Gem, "gem", false, Right::Decimal},
    {Kind::Push, "push", false, Right::None},
    {Kind::Pop, "pop", false, Right::None},
    {Kind::SetPbits, "pbits", true, Right::Decimal},
    {Kind::SetCfi, "cfi", true, Right::Decimal},
    {Kind::SetVid, "vid", true, Right::Decimal},
    {Kind::SetTagType, "tagtype", true, Right::Type},
    {Kind::SetType, "type", false, Right::Type},
    {Kind::CopyPbits, "pbits", true, Right::SameFieldOfTag},
    {Kind::CopyCfi, "cfi", true, Right::SameFieldOfTag},
    {Kind::CopyVid, "vid", true, Right::SameFieldOfTag},
    {Kind::CopyTagType, "tagtype", true, Right::SameFieldOfTag},
    {Kind::DscpToPbits, "pbits", true, Right::Dscp},
    {Kind::Drop, "drop", false, Right::None},
    {Kind::MarkGem, "mark-gem", false, Right::Decimal},
    {Kind::MarkQueue, "mark-queue", false, Right::Decimal},
};

std::string typeText(std::uint32_t type) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%04x", type);
    return text;
}

std::string rightText(const TermForm& form, const RuleTerm& term) {
    switch (form.right) {
        case Right::Device:
            return term.device;
        case Right::Decimal:
            return std::to_string(term.value);
        case Right::Type:
            return typeText(term.value);
        case Right::SameFieldOfTag:
            return form.field + std::to_string(term.value);
        case Right::Dscp:
            return "dscp";
        case Right::None:
            break;
    }
    return {};
}

}  // namespace

bool RuleTerm::operator==(const RuleTerm& other) const {
    return kind == other.kind && value == other.value && tag == other.tag && device == other.device;
}

std::string RuleTerm::text() const {
    for (const auto& form : kTermForms) {
        if (form.kind != kind) continue;
        std::string result = form.field;
        if (form.hasTag) result += std::to_string(tag);
        if (form.right == Right::None) return result;
        return result + (isCommand() ? ":=" : "=") + rightText(form, *this);
    }
    return "?";
}

bool TagRule::operator==(const TagRule& other) const {
    return id == other.id && terms == other.terms;
}

std::string TagRule::text() const {
    std::string filters;
    std::string commands;
    for (const auto& term : terms) {
        auto& part = term.isCommand() ? commands : filters;
        if (!part.empty()) part += ' ';
        part += term.text();
    }
    if (filters.empty()) filters = "any";
    return commands.empty() ? filters : filters + " | " + commands;
}

bool DefaultAction::operator==(const DefaultAction& other) const {
    return action == other.action && device == other.device;
}

bool RuleTable::operator==(const RuleTable& other) const {
    return device == other.device && direction == other.direction && tags == other.tags && rules == other.rules &&
           defaultAction == other.defaultAction;
}

std::string TraceEntry::text() const {
    return name + "(" + arguments + ") = " + std::to_string(result);
}

}  // namespace virtual_onu
