// How the maps of the library stand in the state file, one row a book.
#ifndef BRCM_BCM968580_DATA_RESTART_MAP_BOOK_H
#define BRCM_BCM968580_DATA_RESTART_MAP_BOOK_H

#include <functional>
#include <string>
#include <vector>

#include "state/Books.h"
#include "state/Journal.h"

namespace restart {

// What becomes of an entry that is read.
enum class Taking { Check, PutBack };

struct MapBook {
    state::Book book;
    // The map's value at the key; false when there is none.
    state::Journal::ReadMap read;
    // False when key or value are none of this book's; with PutBack an entry that was checked goes into the map.
    bool (*take)(state::ByteReader& key, state::ByteReader& value, Taking taking);
    // Every key that the map has now.
    void (*forEachKey)(const std::function<void(const std::string&)>& visit);
};

const std::vector<MapBook>& ponBooks();      // PonBooks.cpp
const std::vector<MapBook>& serviceBooks();  // ServiceBooks.cpp
const std::vector<MapBook>& ruleBooks();     // RuleBook.cpp
void forEachMapBook(const std::function<void(const MapBook&)>& visit);

// Whether an entry of a book without a map is well formed (Facts.cpp).
bool isFact(state::Book book, state::ByteReader& key, state::ByteReader& value);

}  // namespace restart

#endif
