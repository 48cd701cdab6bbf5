// Frames of TCP and UDP as a host sends them one by one, with their checksums, beside the segment that it sends where
// somebody else cuts it.
#ifndef TESTS_SEGMENTS_H
#define TESTS_SEGMENTS_H

#include <cstdint>
#include <string>
#include <vector>

#include "Frames.h"

struct Segments {
    using Bytes = std::vector<std::uint8_t>;

    // What the frames have in common.
    Bytes ethernet;  // addresses, tags and type word
    bool ipv6 = false, udp = false;
    unsigned dscp = 0, identification = 0, ipOptions = 0, tcpOptions = 0;  // options in words of four octets
    std::uint32_t sequence = 0;
    std::uint8_t tcpFlags = 0x10;
    std::size_t inEach = 1000;  // octets of content
    Bytes content;

    std::size_t count() const { return (content.size() + inEach - 1) / inEach; }

    Bytes frame(std::size_t number) const {
        const auto from = content.begin() + static_cast<std::ptrdiff_t>(number * inEach);
        const bool isLast = number + 1 == count();
        std::uint8_t flags = tcpFlags;
        if (!isLast) flags &= static_cast<std::uint8_t>(~0x09U);     // FIN, PSH
        if (number > 0) flags &= static_cast<std::uint8_t>(~0x80U);  // CWR
        Bytes bytes = made(number, flags, {from, isLast ? content.end() : from + static_cast<std::ptrdiff_t>(inEach)});
        std::uint16_t sum = static_cast<std::uint16_t>(~summed(bytes, transport(), pseudo(bytes)));
        put(bytes, checksum(), sum == 0 ? 0xFFFF : sum);
        return bytes;
    }
    Bytes whole() const {
        Bytes bytes = made(0, tcpFlags, content);
        put(bytes, checksum(), pseudo(bytes));
        return bytes;
    }
    virtual_onu::Offload offload() const {
        using Cut = virtual_onu::Offload::Cut;
        virtual_onu::Offload left;
        left.checksum = true;
        left.checksumFrom = static_cast<std::uint16_t>(transport());
        left.checksumPlace = udp ? 6 : 16;
        if (count() == 1) return left;
        left.cut = udp ? Cut::Udp : ipv6 ? Cut::TcpIpv6 : Cut::TcpIpv4;
        left.ecn = !udp && (tcpFlags & 0x80) != 0;
        left.segmentOctets = static_cast<std::uint16_t>(inEach);
        return left;
    }

private:
    std::size_t transport() const { return ethernet.size() + (ipv6 ? 40U + 8U * ipOptions : 20U + 4U * ipOptions); }
    std::size_t transportHeader() const { return udp ? 8U : 20U + 4U * tcpOptions; }
    std::size_t checksum() const { return transport() + (udp ? 6 : 16); }

    static void put(Bytes& bytes, std::size_t at, std::size_t word) {
        bytes[at] = static_cast<std::uint8_t>(word >> 8);
        bytes[at + 1] = static_cast<std::uint8_t>(word);
    }
    // Of the words from there on; an octet alone is the first of a word.
    static std::uint16_t summed(const Bytes& bytes, std::size_t from, std::uint32_t sum) {
        for (std::size_t i = from; i < bytes.size(); i += 2)
            sum += static_cast<unsigned>(bytes[i] << 8) | (i + 1 < bytes.size() ? bytes[i + 1] : 0U);
        while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
        return static_cast<std::uint16_t>(sum);
    }
    std::uint16_t pseudo(const Bytes& bytes) const {
        const auto addresses = bytes.begin() + static_cast<std::ptrdiff_t>(ethernet.size() + (ipv6 ? 8 : 12));
        return summed({addresses, addresses + (ipv6 ? 32 : 8)}, 0,
                      static_cast<std::uint32_t>(bytes.size() - transport()) + (udp ? 17U : 6U));
    }

    Bytes made(std::size_t number, std::uint8_t flags, const Bytes& part) const {
        Bytes bytes = ethernet;
        bytes.resize(transport() + transportHeader());
        const std::size_t ip = ethernet.size(), l4 = transport(), length = transportHeader() + part.size();
        for (std::size_t i = ip; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 37);
        const std::uint8_t protocol = udp ? 17 : 6;
        if (ipv6) {
            put(bytes, ip, 0x6000 | dscp << 6);
            put(bytes, ip + 4, l4 - ip - 40 + length);
            const std::uint8_t next[] = {protocol, 0, 43, 60};  // hop by hop, routing, destination options
            bytes[ip + 6] = next[ipOptions];
            bytes[ip + 40] = protocol;  // behind that header; TCP's or UDP's own octet otherwise
            bytes[ip + 41] = static_cast<std::uint8_t>(ipOptions - 1);
        } else {
            bytes[ip] = static_cast<std::uint8_t>(0x45 + ipOptions);
            bytes[ip + 1] = static_cast<std::uint8_t>(dscp << 2);
            put(bytes, ip + 2, l4 - ip + length);
            put(bytes, ip + 4, identification + number);
            bytes[ip + 9] = protocol;
            put(bytes, ip + 10, 0);
            const Bytes header(bytes.begin() + static_cast<std::ptrdiff_t>(ip),
                               bytes.begin() + static_cast<std::ptrdiff_t>(l4));
            put(bytes, ip + 10, static_cast<std::uint16_t>(~summed(header, 0, 0)));
        }
        if (udp) {
            put(bytes, l4 + 4, length);
        } else {
            const std::uint32_t at = sequence + static_cast<std::uint32_t>(number * inEach);
            put(bytes, l4 + 4, at >> 16);
            put(bytes, l4 + 6, at & 0xFFFF);
            bytes[l4 + 12] = static_cast<std::uint8_t>((5 + tcpOptions) << 4);
            bytes[l4 + 13] = flags;
        }
        put(bytes, checksum(), 0);
        bytes.insert(bytes.end(), part.begin(), part.end());
        return bytes;
    }
};

#endif
