// What the host's kernel tells of the TAPs of one network namespace, over a route netlink socket.
#ifndef VIRTUAL_ONU_LINK_WATCH_H
#define VIRTUAL_ONU_LINK_WATCH_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace virtual_onu::taps {

struct LinkNews {
    int index = 0;                      // of the interface
    bool there = true;                  // false: it has been removed
    bool up = false;                    // set up, and with a carrier
    std::optional<std::uint64_t> lost;  // frames that the interface could not send, since it was made
};

// A socket that hears of every change, in the thread's own namespace; -1 with errno when there is none.
int openLinkWatch();
// Asks for news of one interface; they come as others do.
void askForLink(int watch, int index);
// Takes all news that wait.
void takeLinkNews(int watch, const std::function<void(const LinkNews&)>& take);

// The news in one datagram. Takes any bytes.
void readLinkNews(const std::uint8_t* bytes, std::size_t size, const std::function<void(const LinkNews&)>& take);

}  // namespace virtual_onu::taps

#endif
