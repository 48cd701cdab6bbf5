// Tables of the standard and frames for them, drawn by chance.
#ifndef TESTS_G988_RANDOM_TABLES_H
#define TESTS_G988_RANDOM_TABLES_H

#include <initializer_list>
#include <random>

#include "BRCM/BCM968580/DATA/g988/Tables.h"
#include "VirtualOnu.h"

class RandomTables {
public:
    RandomTables(unsigned seed, unsigned firstGemIndex, unsigned gemPorts)
        : engine_(seed), firstGemIndex_(firstGemIndex), gemPorts_(gemPorts) {}

    void change(g988::Tables& tables);  // by one thing
    virtual_onu::Frame frameUp(const g988::Tables& tables) { return frame(tables, false); }
    virtual_onu::Frame frameDown(const g988::Tables& tables) { return frame(tables, true); }
    unsigned gemIndex() { return firstGemIndex_ + below(gemPorts_); }
    unsigned below(unsigned count) { return static_cast<unsigned>(engine_() % count); }

private:
    unsigned of(std::initializer_list<unsigned> choices) {
        return *(choices.begin() + below(static_cast<unsigned>(choices.size())));
    }
    std::uint8_t priority() { return static_cast<std::uint8_t>(below(8)); }
    std::uint16_t vid() { return static_cast<std::uint16_t>(of({0, 1, 100, 101, 102, 4094})); }
    std::uint16_t tpid() { return static_cast<std::uint16_t>(of({0x8100, 0x8100, 0x88A8})); }
    g988::TagCodes filter();
    g988::TagCodes treatment();
    g988::TaggingRow row(const g988::UniPort& port);
    g988::FilterTci tci();
    g988::GemPlace place();
    g988::PonPort side();
    void setRow(g988::TaggingTable& table, const g988::TaggingRow& row);
    void changeRows(g988::UniPort& port, bool takesOneAway, bool replacesOne);
    void changeSides(g988::Tables& tables);
    void changePort(g988::UniPort& port);
    virtual_onu::VlanTag tag();
    virtual_onu::VlanTag tagLike(const g988::TagCodes& codes, const g988::TaggingTable& table);
    virtual_onu::Frame frame(const g988::Tables& tables, bool treated);

    std::mt19937 engine_;
    unsigned firstGemIndex_, gemPorts_;
};

#endif
