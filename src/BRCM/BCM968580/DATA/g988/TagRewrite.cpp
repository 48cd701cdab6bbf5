// Pops and pushes act on the outermost tag alone. So a new tag is written into the place of one that goes, from where
// both old tags can still be read, and the count of tags is put right before (pushes) or behind (pops).
#include "BRCM/BCM968580/DATA/g988/TagRewrite.h"

#include <algorithm>
#include <array>

namespace g988 {

namespace {

using Kind = Command::Kind;
using Source = FieldSource::Kind;

struct TagField {
    FieldSource NewTag::*source;
    Kind set, copy;
    std::uint16_t pushedValue;  // of a tag that has just been pushed
};
constexpr std::array<TagField, 4> kFields = {{
    {&NewTag::pbits, Kind::SetPbits, Kind::CopyPbits, 0},
    {&NewTag::dei, Kind::SetDei, Kind::CopyDei, 0},
    {&NewTag::vid, Kind::SetVid, Kind::CopyVid, 0},
    {&NewTag::tpid, Kind::SetTpid, Kind::CopyTpid, 0x8100},
}};

class Rewrite {
public:
    Rewrite(unsigned removed, const std::vector<NewTag>& added)
        : added_(added),
          count_(static_cast<unsigned>(added.size())),
          pushes_(count_ > removed ? count_ - removed : 0),
          pops_(removed > count_ ? removed - count_ : 0) {}

    std::vector<Command> commands() {
        if (std::any_of(kFields.begin(), kFields.end(), [&](const TagField& field) { return exchanges(field); }))
            spare_ = 1;
        for (unsigned i = 0; i < pushes_ + spare_; ++i) command(Kind::Push);
        for (const TagField& field : kFields) copy(field);
        for (const TagField& field : kFields) set(field);
        for (unsigned i = 0; i < pops_ + spare_; ++i) command(Kind::Pop);
        return std::move(commands_);
    }

private:
    const FieldSource& sourceOf(unsigned tag, const TagField& field) const { return added_[tag].*field.source; }
    unsigned placeOf(unsigned tag) const { return spare_ + pops_ + tag; }  // of a new tag
    unsigned placeOfOld(const FieldSource& source) const { return spare_ + pushes_ + source.number; }
    bool copiesFrom(unsigned tag, const TagField& field, unsigned place) const {
        const FieldSource& source = sourceOf(tag, field);
        return source.kind == Source::Tag && placeOfOld(source) == place;
    }
    bool exchanges(const TagField& field) const {
        return count_ == 2 && copiesFrom(0, field, placeOf(1)) && copiesFrom(1, field, placeOf(0));
    }

    void command(Kind kind, unsigned tag = 0, unsigned value = 0) {
        commands_.push_back({kind, static_cast<std::uint8_t>(tag), static_cast<std::uint16_t>(value)});
    }

    void copyTag(unsigned tag, const TagField& field) {
        const FieldSource& source = sourceOf(tag, field);
        if (source.kind == Source::Tag && placeOfOld(source) != placeOf(tag))
            command(field.copy, placeOf(tag), placeOfOld(source));
    }

    // The outer tag first: its place is never read for the inner one, but where the two exchange the field.
    void copy(const TagField& field) {
        if (exchanges(field)) {
            command(field.copy, 0, placeOf(0));  // tag 0 is the spare one
            command(field.copy, placeOf(0), placeOf(1));
            command(field.copy, placeOf(1), 0);
            return;
        }
        for (unsigned tag = 0; tag < count_; ++tag) copyTag(tag, field);
    }

    void set(const TagField& field) {
        for (unsigned tag = 0; tag < count_; ++tag) {
            const FieldSource& source = sourceOf(tag, field);
            const bool isPushed = tag < pushes_;
            if (source.kind == Source::Dscp) command(Kind::DscpToPbits, placeOf(tag));
            if (source.kind == Source::Value && !(isPushed && source.number == field.pushedValue))
                command(field.set, placeOf(tag), source.number);
        }
    }

    const std::vector<NewTag>& added_;
    const unsigned count_, pushes_, pops_;
    unsigned spare_ = 0;
    std::vector<Command> commands_;
};

}  // namespace

std::vector<Command> rewriteTags(unsigned removed, const std::vector<NewTag>& added) {
    return Rewrite(removed, added).commands();
}

}  // namespace g988
