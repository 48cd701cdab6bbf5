// One managed entity that is in the MIB, with the values of its attributes.
#ifndef OMCI_MIB_ENTITY_H
#define OMCI_MIB_ENTITY_H

#include <cstdint>
#include <string>
#include <vector>

#include "omci/message/Bytes.h"
#include "omci/message/ManagedEntities.h"

namespace omci {

class Entity {
public:
    // With the default of every attribute and empty tables; all attributes are implemented.
    Entity(const ClassInfo& info, InstanceId instance, Maker maker);

    const ClassInfo& info() const { return *info_; }
    ClassId classId() const { return info_->id(); }
    InstanceId instance() const { return instance_; }
    EntityKey key() const { return {info_->id(), instance_}; }
    // Who made this instance: kOnu or kOlt.
    Maker maker() const { return maker_; }
    // The attributes that this ONU implements.
    AttributeMask implemented() const { return implemented_; }
    bool has(AttributeNumber number) const { return (implemented_ & maskOf(number)) != 0; }

    // An attribute that the entity does not have, or a table, answers 0 and no bytes; one longer than eight bytes
    // answers its last eight as number.
    std::uint64_t number(AttributeNumber attribute) const { return numberOf(bytes(attribute)); }
    std::uint16_t number16(AttributeNumber attribute) const { return static_cast<std::uint16_t>(number(attribute)); }
    std::uint8_t number8(AttributeNumber attribute) const { return static_cast<std::uint8_t>(number(attribute)); }
    ByteView bytes(AttributeNumber attribute) const;
    // A text without its padding.
    std::string text(AttributeNumber attribute) const;
    // Rows of a table, in the order in which the OLT reads them back; empty for what is no table.
    const TableRows& rows(AttributeNumber table) const;

    // ---- Changes; Mib::commit() makes them known ----
    //
    // Each answers true when the value is another one now. An attribute that the entity does not have is left alone.

    bool setNumber(AttributeNumber attribute, std::uint64_t value);
    // Shorter bytes are filled up with zeros, longer ones cut.
    bool setBytes(AttributeNumber attribute, ByteView value);
    bool setText(AttributeNumber attribute, const std::string& text);
    bool setRows(AttributeNumber table, TableRows rows);
    void setImplemented(AttributeMask attributes) { implemented_ = attributes & info_->all(); }

private:
    const ClassInfo* info_;
    InstanceId instance_;
    Maker maker_;
    AttributeMask implemented_;
    Bytes values_;
    std::vector<TableRows> tables_;  // one for each table of the class, in order
};

}  // namespace omci

#endif
