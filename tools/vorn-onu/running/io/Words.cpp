#include "running/io/Words.h"

#include <map>

namespace vorn_onu {

std::vector<std::string> withoutLikes(const std::vector<std::string>& lines) {
    std::vector<std::string> first;
    std::vector<std::size_t> more;
    std::map<std::string, std::size_t> places;
    for (const std::string& line : lines) {
        const auto [place, isNew] = places.emplace(withoutNumbers(line), first.size());
        if (isNew) {
            first.push_back(line);
            more.push_back(0);
        } else {
            ++more[place->second];
        }
    }
    for (std::size_t i = 0; i < first.size(); ++i)
        if (more[i] > 0) first[i] += "; " + std::to_string(more[i]) + " more with different numbers";
    return first;
}

}  // namespace vorn_onu
