// The adapter's maps against what GPON control and traffic management have.
#ifndef XPON_COMPARE_PON_H
#define XPON_COMPARE_PON_H

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

// ports: GEM port ids and whether they were up. tcontsWithQueues: T-CONT indexes. What is gone leaves the maps, what is
// there beyond them is named; one line each goes to tell.
void comparePon(const std::vector<std::pair<std::uint16_t, bool>>& ports,
                const std::vector<std::uint16_t>& tcontsWithQueues, const std::function<void(const char*)>& report);

#endif
