// Tables of the standard and frames for them, drawn by chance, and the same tables as the planner takes them.
#ifndef TESTS_G988_RANDOM_TABLES_H
#define TESTS_G988_RANDOM_TABLES_H

#include <random>

#include "BRCM/BCM968580/DATA/g988/Tables.h"
#include "src/g988/StandardModel.h"

g988::Tables tablesOf(const standard::Board& board, unsigned firstGemPortId, unsigned firstGemIndex);

class RandomTables {
public:
    RandomTables(unsigned seed, unsigned firstGemPortId, unsigned gemPorts)
        : engine_(seed), firstGemPortId_(firstGemPortId), gemPorts_(gemPorts) {}

    void change(standard::Board& board);  // by one thing
    standard::Frame frameUp(const standard::Board& board);
    standard::Frame frameDown(const standard::Board& board);
    unsigned gemPort() { return firstGemPortId_ + below(gemPorts_); }
    unsigned below(unsigned count) { return static_cast<unsigned>(engine_() % count); }

private:
    unsigned of(std::initializer_list<unsigned> choices) {
        return *(choices.begin() + below(static_cast<unsigned>(choices.size())));
    }
    unsigned vid() { return of({0, 1, 100, 101, 102, 4094}); }
    unsigned tpid() { return of({0x8100, 0x8100, 0x88A8}); }
    standard::Field filter();
    standard::Field treatment();
    standard::Row row(const standard::Board& board);
    standard::PonSide side(unsigned bridge);
    void changeSides(standard::Board& board);
    void changePort(standard::Board& board);
    virtual_onu::VlanTag tag();
    virtual_onu::VlanTag tagLike(const standard::Field& field, const standard::Port& port);
    standard::Frame frame(const standard::Board& board, bool treated);

    std::mt19937 engine_;
    unsigned firstGemPortId_, gemPorts_;
};

#endif
