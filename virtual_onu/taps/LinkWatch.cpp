#include "taps/LinkWatch.h"

#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "real_libc/RealLibc.h"
#include "taps/OwnDescriptors.h"

namespace virtual_onu::taps {

namespace {

// A record at the beginning of these bytes, copied: netlink aligns to four octets only.
template <typename Record>
bool read(const std::uint8_t* bytes, std::size_t size, Record& record) {
    if (size < sizeof record) return false;
    std::memcpy(&record, bytes, sizeof record);
    return true;
}

constexpr std::size_t aligned(std::size_t size) {
    return (size + 3) & ~std::size_t{3};
}

constexpr std::size_t kLostAt = offsetof(rtnl_link_stats64, tx_dropped);

void readAttributes(const std::uint8_t* bytes, std::size_t size, LinkNews& news, bool isUp) {
    bool carrier = true;
    rtattr attribute{};
    for (std::size_t at = 0; at < size && read(bytes + at, size - at, attribute);) {
        if (attribute.rta_len < sizeof attribute || attribute.rta_len > size - at) break;
        const std::uint8_t* value = bytes + at + sizeof attribute;
        const std::size_t length = attribute.rta_len - sizeof attribute;
        if (attribute.rta_type == IFLA_CARRIER && length >= 1) carrier = *value != 0;
        std::uint64_t lost = 0;  // the record has grown with the kernel
        if (attribute.rta_type == IFLA_STATS64 && length >= kLostAt && read(value + kLostAt, length - kLostAt, lost))
            news.lost = lost;
        at += aligned(attribute.rta_len);
    }
    news.up = isUp && carrier;
}

}  // namespace

int openLinkWatch() {
    const int watch = real::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    if (watch < 0) return -1;
    sockaddr_nl place{};
    place.nl_family = AF_NETLINK;
    place.nl_groups = RTMGRP_LINK;
    if (real::bind(watch, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0) return watch;
    real::close(watch);
    return -1;
}

void askForLink(int watch, int index) {
    struct {
        nlmsghdr header;
        ifinfomsg about;
    } request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = RTM_GETLINK;
    request.header.nlmsg_flags = NLM_F_REQUEST;
    request.about.ifi_index = index;
    own::send(watch, &request, sizeof request, 0);  // asked again soon
}

void takeLinkNews(int watch, const std::function<void(const LinkNews&)>& take) {
    std::array<std::uint8_t, 32768> bytes;
    for (ssize_t got = 0; (got = own::receive(watch, bytes.data(), bytes.size(), MSG_DONTWAIT)) > 0;)
        readLinkNews(bytes.data(), static_cast<std::size_t>(got), take);
}

void readLinkNews(const std::uint8_t* bytes, std::size_t size, const std::function<void(const LinkNews&)>& take) {
    nlmsghdr header{};
    for (std::size_t at = 0; at < size && read(bytes + at, size - at, header); at += aligned(header.nlmsg_len)) {
        if (header.nlmsg_len < sizeof header || header.nlmsg_len > size - at) return;
        ifinfomsg about{};
        constexpr std::size_t kBegin = sizeof header, kAttributes = kBegin + aligned(sizeof about);
        const bool isNews = header.nlmsg_type == RTM_NEWLINK || header.nlmsg_type == RTM_DELLINK;
        if (!isNews || header.nlmsg_len < kAttributes) continue;
        read(bytes + at + kBegin, sizeof about, about);
        LinkNews news;
        news.index = about.ifi_index;
        news.there = header.nlmsg_type == RTM_NEWLINK;
        if (news.there)
            readAttributes(bytes + at + kAttributes, header.nlmsg_len - kAttributes, news,
                           (about.ifi_flags & IFF_UP) != 0);
        take(news);
    }
}

}  // namespace virtual_onu::taps
