// What the standard says about each class of managed entities: one row a class, one row an attribute.
#ifndef OMCI_MESSAGE_MANAGED_ENTITIES_H
#define OMCI_MESSAGE_MANAGED_ENTITIES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "omci/message/MessageType.h"
#include "omci/message/Numbers.h"

namespace omci {

// A pointer that points at nothing. Many OLTs write 0 for it too.
constexpr InstanceId kNullPointer = 0xFFFF;
constexpr bool isNull(InstanceId pointer) {
    return pointer == kNullPointer || pointer == 0;
}

// Attributes of one entity, most significant bit attribute 1, least significant bit attribute 16.
using AttributeMask = std::uint16_t;
constexpr AttributeNumber kMaxAttributes = 16;
constexpr AttributeMask maskOf(AttributeNumber number) {
    return number >= 1 && number <= kMaxAttributes ? static_cast<AttributeMask>(0x10000U >> number) : AttributeMask{0};
}

// A constant table's rows.
template <class T>
class Rows {
public:
    constexpr Rows() = default;
    template <std::size_t count>
    constexpr Rows(const T (&rows)[count]) : first_(rows), count_(count) {}  // NOLINT: a table is such a range
    constexpr const T* begin() const { return first_; }
    constexpr const T* end() const { return first_ + count_; }
    constexpr std::size_t size() const { return count_; }
    constexpr bool empty() const { return count_ == 0; }
    constexpr const T& operator[](std::size_t index) const { return first_[index]; }

private:
    const T* first_ = nullptr;
    std::size_t count_ = 0;
};

struct CodeWord {
    std::uint32_t code;
    const char* word;
};

// How an attribute's bytes are read.
enum Format : std::uint8_t {
    kUnsigned,
    kSigned,
    kHex,          // a number that is written in hexadecimal
    kEnumeration,  // one of the attribute's words
    kBitField,
    kPointer,       // instance of another entity
    kText,          // padded with zeros or spaces
    kOctets,        // bytes without a meaning of their own
    kSerialNumber,  // four letters, four bytes
    kIpv4,
    kMac,
    kTci,
    kTciList,       // TCIs of two bytes each
    kDscpMap,       // 64 p-bits of three bits each
    kOpticalLevel,  // signed, units of 0.002 dB relative to 1 mW
    kTable,         // rows of size bytes
};

// Access to an attribute, and what else is true of it: bits.
enum Access : std::uint8_t {
    kR = 1,
    kW = 2,
    kC = 4,  // set by create
    kOptional = 8,
    kAvc = 16,  // the ONU reports when the value changes by itself
    kRW = kR | kW,
    kRC = kR | kC,
    kRWC = kR | kW | kC,
};

struct AttributeInfo {
    AttributeNumber number = 0;
    const char* name = "";
    std::uint16_t size = 0;  // bytes; of a table, those of a row; 0: not fixed by the standard
    std::uint8_t access = 0;
    Format format = kUnsigned;
    // What is there when nobody wrote. A number; of a text one character, with a space the whole text is spaces.
    std::uint32_t defaultValue = 0;
    Rows<CodeWord> words = {};
    std::int8_t thresholdAlarm = -1;  // number of the threshold crossing alert that the counter raises; -1: none

    bool readable() const { return (access & kR) != 0; }
    bool writable() const { return (access & kW) != 0; }
    bool setByCreate() const { return (access & kC) != 0; }
    bool optional() const { return (access & kOptional) != 0; }
    bool isTable() const { return format == kTable; }
    // The word of a code, null when it has none.
    const char* wordOf(std::uint32_t code) const;
};

enum class Maker : std::uint8_t { kOnu = 1, kOlt = 2, kBoth = 3 };  // who makes the instances of a class

struct EntityRow {
    ClassId id;
    const char* name;
    Maker maker;
    MessageTypes actions;
    Rows<AttributeInfo> attributes;
    Rows<CodeWord> alarms;
};

// A class with what follows from its row.
class ClassInfo {
public:
    explicit ClassInfo(const EntityRow& row, std::size_t index);

    ClassId id() const { return row_->id; }
    const char* name() const { return row_->name; }
    Maker maker() const { return row_->maker; }
    bool takes(MessageType type) const { return (row_->actions & bit(type)) != 0; }
    MessageTypes actions() const { return row_->actions; }
    // In order of their numbers, from 1 without a gap.
    const Rows<AttributeInfo>& attributes() const { return row_->attributes; }
    // Null for a number that the class does not have.
    const AttributeInfo* attribute(AttributeNumber number) const {
        return number >= 1 && number <= row_->attributes.size() ? &row_->attributes[number - 1U] : nullptr;
    }
    const Rows<CodeWord>& alarms() const { return row_->alarms; }
    bool isPerformance() const { return takes(MessageType::kGetCurrentData); }

    AttributeMask all() const { return all_; }
    AttributeMask readable() const { return readable_; }
    AttributeMask writable() const { return writable_; }
    AttributeMask setByCreate() const { return setByCreate_; }
    AttributeMask tables() const { return tables_; }
    // Place of an attribute that is no table among the values of an instance, which are size() bytes.
    std::size_t offset(AttributeNumber number) const { return offsets_[number]; }
    std::size_t size() const { return offsets_[0]; }
    // Bytes of the values that a create carries.
    std::size_t createSize() const { return createSize_; }
    // Place of the class among all.
    std::size_t index() const { return index_; }

private:
    const EntityRow* row_;
    std::size_t index_;
    AttributeMask all_ = 0, readable_ = 0, writable_ = 0, setByCreate_ = 0, tables_ = 0;
    std::array<std::uint16_t, kMaxAttributes + 1> offsets_{};
    std::size_t createSize_ = 0;
};

// Every class, by rising numbers.
const std::vector<ClassInfo>& managedEntities();
// Null for a class that nobody here knows.
const ClassInfo* findClass(ClassId id);
// "GEM port network CTP"; "class 350" for one that nobody here knows.
std::string nameOfClass(ClassId id);

// One managed entity of the ONU.
struct EntityKey {
    ClassId classId = 0;
    InstanceId instance = 0;
};
constexpr bool operator==(EntityKey one, EntityKey other) {
    return one.classId == other.classId && one.instance == other.instance;
}
constexpr bool operator!=(EntityKey one, EntityKey other) {
    return !(one == other);
}
constexpr bool operator<(EntityKey one, EntityKey other) {
    return one.classId != other.classId ? one.classId < other.classId : one.instance < other.instance;
}

}  // namespace omci

#endif
