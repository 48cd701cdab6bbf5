// A kind of records of the board, as the facility that holds the things gives it: the tables behind the board file.
#ifndef VIRTUAL_ONU_SECTION_H
#define VIRTUAL_ONU_SECTION_H

#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Records.h"

namespace virtual_onu::persistence {

// Everything is called with the device lock held.
struct Section {
    std::string name;     // one of Persistence.h
    bool single = false;  // one record that is always there, without a key
    std::function<std::vector<std::string>()> keys;
    std::function<Json(const std::string& key)> record;  // null where there is none
    // Checks a record and answers what puts it in its place. Throws BadBoard.
    std::function<std::function<void()>(const std::string& key, const Json& value)> read;
    std::function<void(const std::string& key)> remove;
};
using Sections = std::vector<Section>;

// What a facility tells of things that it holds by key.
template <typename Key, typename Thing>
struct RecordAccess {
    std::function<std::vector<Key>()> keys;
    std::function<std::optional<Thing>(const Key&)> get;
    std::function<void(const Key&, Thing)> put;  // in the place of what was there
    std::function<void(const Key&)> remove;
};

template <typename Key>
Key keyFrom(const std::string& text) {
    if constexpr (std::is_same_v<Key, std::string>)
        return text;
    else
        return static_cast<Key>(numberKey(text, static_cast<std::uint64_t>(std::numeric_limits<Key>::max())));
}
inline std::string textOfKey(const std::string& key) {
    return key;
}
template <typename Number>
std::string textOfKey(Number key) {
    return std::to_string(key);
}

template <typename Thing>
Json written(Thing thing) {
    RecordWriter writer;
    describe(writer, thing);
    return writer.take();
}

template <typename Thing>
std::shared_ptr<Thing> readThing(const Json& value) {
    const auto thing = std::make_shared<Thing>();
    RecordReader reader(value);
    describe(reader, *thing);
    reader.end();
    return thing;
}

template <typename Key, typename Thing>
Section section(const char* name, RecordAccess<Key, Thing> byKey) {
    Section made;
    made.name = name;
    made.keys = [byKey] {
        std::vector<std::string> texts;
        for (const Key& key : byKey.keys()) texts.push_back(textOfKey(key));
        return texts;
    };
    made.record = [byKey](const std::string& key) {
        auto thing = byKey.get(keyFrom<Key>(key));
        return thing ? written<Thing>(std::move(*thing)) : Json();
    };
    made.read = [byKey](const std::string& text, const Json& value) -> std::function<void()> {
        const Key key = keyFrom<Key>(text);
        const auto thing = readThing<Thing>(value);
        return [byKey, key, thing] { byKey.put(key, std::move(*thing)); };
    };
    made.remove = [byKey](const std::string& key) { byKey.remove(keyFrom<Key>(key)); };
    return made;
}

// Things in a map that others look at in place.
template <typename Key, typename Thing>
Section mapSection(
    const char* name, std::map<Key, Thing>& (*map)(), void (*changed)() = [] {}) {
    RecordAccess<Key, Thing> byKey;
    byKey.keys = [map] {
        std::vector<Key> keys;
        for (const auto& entry : map()) keys.push_back(entry.first);
        return keys;
    };
    byKey.get = [map](const Key& key) {
        const auto found = map().find(key);
        return found == map().end() ? std::nullopt : std::optional<Thing>(found->second);
    };
    byKey.put = [map, changed](const Key& key, Thing thing) {
        map()[key] = std::move(thing);
        changed();
    };
    byKey.remove = [map, changed](const Key& key) {
        map().erase(key);
        changed();
    };
    return section<Key, Thing>(name, byKey);
}

// One record.
template <typename Thing>
Section single(const char* name, std::function<Thing()> get, std::function<void(Thing)> put) {
    Section made;
    made.name = name;
    made.single = true;
    made.keys = [] { return std::vector<std::string>{""}; };
    made.record = [get](const std::string&) { return written<Thing>(get()); };
    made.read = [put](const std::string&, const Json& value) -> std::function<void()> {
        const auto thing = readThing<Thing>(value);
        return [put, thing] { put(std::move(*thing)); };
    };
    made.remove = [](const std::string&) {};
    return made;
}

}  // namespace virtual_onu::persistence

#endif
