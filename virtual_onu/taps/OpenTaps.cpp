#include "taps/OpenTaps.h"

#include <algorithm>

#include "taps/LinkWatch.h"
#include "taps/OwnDescriptors.h"
#include "taps/TapDevice.h"

namespace virtual_onu::taps {

OpenTaps::OpenTaps(const std::vector<int>& descriptors) {
    if (!descriptors.empty()) page = std::make_unique<TapPage>(descriptors.front());
    std::size_t entries = 0;
    if (page != nullptr && page->valid()) entries = page->size();
    for (std::size_t i = 1; i < descriptors.size(); ++i) (i <= entries ? taps : watches).push_back(descriptors[i]);
    bool whole = entries > 0 && taps.size() == entries;
    for (std::size_t i = 0; whole && i < entries; ++i) whole = (*page)[i].watch.get() < watches.size();
    if (!whole) page.reset();
}

OpenTaps::~OpenTaps() {
    for (const int one : taps) own::close(one);
    for (const int one : watches) own::close(one);
}

void OpenTaps::askForLinks() const {
    for (std::size_t i = 0; i < page->size(); ++i) {
        const TapEntry& entry = (*page)[i];
        askForLink(watches[static_cast<std::size_t>(entry.watch.get())], static_cast<int>(entry.index.get()));
    }
}

void OpenTaps::lookAt(std::size_t place, bool there) const {
    TapEntry& entry = (*page)[place];
    const std::string name = nameOfTap(taps[place]);
    if (name.empty())
        entry.became.set("deleted");
    else if (!there)
        entry.became.set("moved to another network namespace");
    else
        entry.became.set(name == entry.interface.get() ? "" : "renamed to " + name);
}

void OpenTaps::hear(const std::function<void(std::size_t, bool)>& link) const {
    for (std::size_t watch = 0; watch < watches.size(); ++watch) {
        takeLinkNews(watches[watch], [&](const LinkNews& news) {
            for (std::size_t i = 0; i < page->size(); ++i) {
                TapEntry& entry = (*page)[i];
                if (entry.watch.get() != watch || entry.index.get() != static_cast<std::uint64_t>(news.index)) continue;
                if (news.lost) entry.lostIn.set(*news.lost - std::min(*news.lost, entry.lostInBefore.get()));
                lookAt(i, news.there);
                link(i, news.there && news.up);
            }
        });
    }
}

void OpenTaps::setCarriers(bool on) const {
    for (const int one : taps) setCarrier(one, on);
}

}  // namespace virtual_onu::taps
