// A kind of records of the board, as the facility that holds the things gives it: the tables behind the board file.
#ifndef VIRTUAL_ONU_SECTION_H
#define VIRTUAL_ONU_SECTION_H

#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Persistence.h"
#include "Records.h"

namespace virtual_onu::persistence {

// Everything is called with the device lock held.
class Section {
public:
    // A record that has been checked, on its way to its place.
    class Checked {
    public:
        virtual ~Checked() = default;
        virtual void put() = 0;
    };

    Section(const char* nameOfIt, bool isOne) : name(nameOfIt), single(isOne) {}
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

    virtual std::vector<std::string> keys() const = 0;
    virtual Json record(const std::string& key) const = 0;                                       // null: none
    virtual std::unique_ptr<Checked> read(const std::string& key, const Json& value) const = 0;  // throws BadBoard
    virtual void remove(const std::string& key) const = 0;

    const std::string name;  // one of Persistence.h
    const bool single;       // one record that is always there, without a key

protected:
    ~Section() = default;
};

// ---- access: what a facility tells of the things that it holds, in static functions ----

template <typename OneThing>
struct Things {
    using Thing = OneThing;
    template <typename Record>
    static void fields(Record& record, Thing& thing) {
        describe(record, thing);
    }
};

// One record: Thing get(), void put(Thing).
template <typename Thing>
struct Single : Things<Thing> {
    static constexpr bool kSingle = true;
    static int keyFrom(const std::string& /*key*/) { return 0; }
};

// By key: texts keys(), optional<Thing> get(key), void put(key, Thing) in the place of what was there, remove(key).
template <typename Key, typename Thing>
struct Keyed : Things<Thing> {
    static constexpr bool kSingle = false;
    static Key keyFrom(const std::string& text) {  // throws BadBoard
        if constexpr (std::is_same_v<Key, std::string>)
            return text;
        else
            return static_cast<Key>(numberKey(text, static_cast<std::uint64_t>(std::numeric_limits<Key>::max())));
    }
};

template <typename Entries>
std::vector<std::string> keysOf(const Entries& entries) {
    std::vector<std::string> texts;
    for (const auto& entry : entries) texts.push_back(keyText(entry.first));
    return texts;
}

// Things in the map that kMap() answers.
template <typename Key, typename Thing, std::map<Key, Thing>& (*kMap)()>
struct InMap : Keyed<Key, Thing> {
    static std::vector<std::string> keys() { return keysOf(kMap()); }
    static std::optional<Thing> get(const Key& key) {
        const auto found = kMap().find(key);
        return found == kMap().end() ? std::nullopt : std::optional<Thing>(found->second);
    }
    static void put(const Key& key, Thing thing) { kMap()[key] = std::move(thing); }
    static void remove(const Key& key) { kMap().erase(key); }
};

// What a run has seen, by number: a file that is read whole has none of it.
template <typename Thing>
struct OfRun : Keyed<std::uint64_t, Thing> {
    static std::vector<std::string> keys() { return {}; }
    static void remove(std::uint64_t /*number*/) {}
};

template <typename Access>
class SectionOf final : public Section {
public:
    explicit SectionOf(const char* nameOfIt) : Section(nameOfIt, Access::kSingle) {}

    std::vector<std::string> keys() const override {
        if constexpr (Access::kSingle)
            return {""};
        else
            return Access::keys();
    }
    Json record(const std::string& key) const override {
        RecordWriter writer;
        if constexpr (Access::kSingle) {
            auto thing = Access::get();
            Access::fields(writer, thing);
        } else {
            auto thing = Access::get(Access::keyFrom(key));
            if (!thing) return {};
            Access::fields(writer, *thing);
        }
        return writer.take();
    }
    std::unique_ptr<Checked> read(const std::string& key, const Json& value) const override {
        auto checked = std::make_unique<Record>(Access::keyFrom(key));
        RecordReader reader(value);
        Access::fields(reader, checked->thing);
        reader.end();
        return checked;
    }
    void remove(const std::string& key) const override {
        if constexpr (!Access::kSingle) Access::remove(Access::keyFrom(key));
    }

private:
    struct Record : Checked {
        using Key = decltype(Access::keyFrom(""));
        explicit Record(Key itsKey) : key(std::move(itsKey)) {}
        void put() override {
            if constexpr (Access::kSingle)
                Access::put(std::move(thing));
            else
                Access::put(key, std::move(thing));
        }
        const Key key;
        typename Access::Thing thing{};
    };
};

template <typename Access>
const Section* section(const char* name) {
    static const auto& one = *new SectionOf<Access>(name);  // never destroyed: threads outlive main()
    return &one;
}

}  // namespace virtual_onu::persistence

#endif
