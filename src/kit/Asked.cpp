#include "kit/Asked.h"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <utility>

namespace kit {

namespace {

using Effects = std::vector<std::string>;

// Of the provisioning thread, as the journal. Never destroyed.
struct Asked {
    std::unordered_map<std::string, Effects> neededBy;  // effect: the operations, by the keys of their entries
    std::set<std::string> unclaimed;
    std::vector<std::string> incomplete;
    // The running operation.
    std::string key;
    Effects needs;
    bool isIncomplete = false;
    bool isAskedAgain = false;
    bool makesWay = false;
};

Asked& asked() {
    static Asked& one = *new Asked;
    return one;
}

std::string entryOf(std::string_view askAndArguments) {
    std::string key = keyOf(Entry::Asked);
    key.append(askAndArguments);
    return key;
}

std::string finishedEntryOf(std::string_view askAndArguments) {
    std::string key = keyOf(Entry::Finished);
    key.append(askAndArguments);
    return key;
}

Effects effectsOf(const std::string& entry) {
    Effects effects;
    const std::string* const value = state::journal()->find(entry);
    if (value == nullptr) return effects;
    state::ByteReader bytes(*value);
    while (bytes.left() > 0) effects.push_back(bytes.text());
    return effects;
}

void forgetNeed(const std::string& entry, const std::string& effect) {
    const auto known = asked().neededBy.find(effect);
    if (known == asked().neededBy.end()) return;
    Effects& entries = known->second;
    entries.erase(std::remove(entries.begin(), entries.end(), entry), entries.end());
    if (entries.empty()) asked().neededBy.erase(known);
}

void forget(const std::string& entry) {
    for (const std::string& effect : effectsOf(entry)) forgetNeed(entry, effect);
    asked().unclaimed.erase(entry);
    state::journal()->erase(entry);
}

bool isLeft(const std::string& entry) {
    return asked().unclaimed.count(entry) == 0;
}

}  // namespace

// ---- one operation ----

void AskedOperation::begin(AskKind kind, std::string_view askAndArguments) {
    Asked& all = asked();
    const std::string entry = entryOf(askAndArguments);
    kind_ = kind;
    if (kind == AskKind::Remove) {
        done_ = journal_->find(finishedEntryOf(askAndArguments)) != nullptr;
    } else {
        done_ = all.unclaimed.erase(entry) != 0;
        all.isAskedAgain = all.isAskedAgain || done_;
    }
    journal_->eraseAll(keyOf(Entry::Finished));
    if (done_) restoredEntry_ = entry;
    if (done_) return;
    begun_ = true;
    all.key = entry;
    all.needs.clear();
    all.isIncomplete = false;
    if (kind == AskKind::Provision) return;
    std::string step = stepOf(Step::WholeOperation);
    journal_->intend(step.append(askAndArguments));
}

bool AskedOperation::needs(const std::function<bool(std::string_view effect)>& is) const {
    const Effects effects = effectsOf(restoredEntry_);
    return std::any_of(effects.begin(), effects.end(), is);
}

void AskedOperation::runAgain() const {
    asked().incomplete.push_back(restoredEntry_);
}

void AskedOperation::end() {
    Asked& all = asked();
    const std::string entry = std::exchange(all.key, {});
    if (kind_ == AskKind::Remove || rolledBack_) return;
    const bool isNew = journal_->find(entry) == nullptr;
    if (isNew && all.isIncomplete && !all.unclaimed.empty()) all.incomplete.push_back(entry);
    Effects needs = effectsOf(entry);
    for (std::string& effect : all.needs) {
        Effects& entries = all.neededBy[effect];
        if (std::find(entries.begin(), entries.end(), entry) != entries.end()) continue;
        entries.push_back(entry);
        needs.push_back(std::move(effect));
    }
    state::ByteWriter value;
    for (const std::string& effect : needs) value.add(effect);
    journal_->put(entry, value.take());
}

void noteNeed(const std::string& effect) {
    Asked& all = asked();
    if (state::journal() == nullptr || all.key.empty()) return;
    // Most are named once, or right after one another.
    if (std::find(all.needs.rbegin(), all.needs.rend(), effect) == all.needs.rend()) all.needs.push_back(effect);
}

void noteNeedOfMember(const char* device) {
    if (state::journal() == nullptr) return;
    Effects& needs = asked().needs;
    needs.erase(std::remove(needs.begin(), needs.end(), keyOf(Entry::Devices, device)), needs.end());
    noteNeed(keyOf(Entry::Members, device));
}

void noteLoss(const std::string& effect) {
    Asked& all = asked();
    if (state::journal() == nullptr) return;
    all.needs.erase(std::remove(all.needs.begin(), all.needs.end(), effect), all.needs.end());
    const auto known = all.neededBy.find(effect);
    if (known == all.neededBy.end() || all.makesWay) return;
    for (const std::string& entry : Effects(known->second)) forget(entry);
}

Replacement::Replacement() {
    if (state::journal() != nullptr) asked().makesWay = true;
}

Replacement::~Replacement() {
    if (state::journal() != nullptr) asked().makesWay = false;
}

void noteIncomplete() {
    if (state::journal() != nullptr) asked().isIncomplete = true;
}

void noteAhead() {
    noteNeed(Entry::Ahead);  // so that it is known after a further restart
}

// ---- after the file was opened ----

void expectClaims() {
    Asked& all = asked();
    for (const auto& entry : state::journal()->current(keyOf(Entry::Asked))) {
        all.unclaimed.insert(entry.first);
        for (const std::string& effect : effectsOf(entry.first)) all.neededBy[effect].push_back(entry.first);
    }
}

void expectClaim(std::string_view askAndArguments) {
    asked().unclaimed.insert(entryOf(askAndArguments));
}

void noteFinished(std::string_view askAndArguments) {
    state::journal()->put(finishedEntryOf(askAndArguments), {});
}

bool isAskedAgain() {
    return asked().isAskedAgain;
}

bool isClaimed(const std::string& effect) {
    const auto known = asked().neededBy.find(effect);
    return known != asked().neededBy.end() && std::any_of(known->second.begin(), known->second.end(), isLeft);
}

bool isClaimed(Ask ask) {
    for (const auto& entry : state::journal()->current(keyOf(Entry::Asked, static_cast<std::uint8_t>(ask))))
        if (isLeft(entry.first)) return true;
    return false;
}

void forgetNeedsAhead(const std::function<bool(std::string_view effect)>& is) {
    const std::string ahead = keyOf(Entry::Ahead);
    const auto known = asked().neededBy.find(ahead);
    if (known == asked().neededBy.end()) return;
    for (const std::string& entry : Effects(known->second)) {
        state::ByteWriter rest;
        for (const std::string& effect : effectsOf(entry)) {
            if (effect == ahead || is(effect))
                forgetNeed(entry, effect);
            else
                rest.add(effect);
        }
        state::journal()->put(entry, rest.take());
    }
}

std::vector<std::string> endClaims() {
    Asked& all = asked();
    std::vector<std::string> again;
    for (const std::string& entry : std::exchange(all.incomplete, {})) {
        if (state::journal()->find(entry) == nullptr) continue;
        again.push_back(entry.substr(keyOf(Entry::Asked).size()));
        forget(entry);
    }
    for (const std::string& entry : std::set<std::string>(all.unclaimed)) forget(entry);
    return again;
}

void forgetAsked() {
    asked().neededBy.clear();
    asked().unclaimed.clear();
    asked().incomplete.clear();
    state::journal()->eraseAll(keyOf(Entry::Asked));
}

}  // namespace kit
