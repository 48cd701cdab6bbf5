// What belongs to a key, in a list of pairs: names of codes, classes of pointers.
#ifndef OMCI_LOOKUP_H
#define OMCI_LOOKUP_H

#include <cstddef>
#include <utility>

namespace omci {

template <typename Key, typename Value, std::size_t kCount>
Value lookUp(const std::pair<Key, Value> (&pairs)[kCount], Key key, Value otherwise) {
    for (const auto& [known, value] : pairs)
        if (known == key) return value;
    return otherwise;
}

template <typename Key>
using Names = std::pair<Key, const char*>;

}  // namespace omci

#endif
