// Messages of the management channel out of a file: a capture of libpcap (pcap, pcapng) or text with hexadecimal
// digits.
#ifndef VORN_ONU_MESSAGE_FILE_H
#define VORN_ONU_MESSAGE_FILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "omci/message/Integrity.h"
#include "omci/message/Message.h"

namespace vorn_onu {

// A message's integrity code, as far as it can be judged.
enum class CodeState : std::uint8_t {
    kNotJudged,  // there is none, a driver left it empty, or nobody said which kind the codes are
    kRight,
    kWrong,  // damaged on its way; with a kind that was asked for, also a code that is missing
};

struct FileMessage {
    std::size_t place = 0;          // packet of a capture, line of a text; from 1
    std::optional<double> seconds;  // since the first packet, of a capture
    omci::Message message;
    CodeState code = CodeState::kNotJudged;
};

struct MessageFile {
    std::vector<FileMessage> messages;
    std::string placeName;             // "packet", "line"
    std::vector<std::string> skipped;  // what looked like a message and is none: "line 7: too short"
    std::size_t others = 0;            // packets of other protocols
    std::size_t wrongCodes() const;    // messages with one
};

// Any bytes give messages or a FileProblem that names the path.
//
// Captures: Ethernet frames of type 0x88b5 with or without VLAN tags, the same in Linux cooked captures, and the user
// link types, whose packets are messages. Text: a message a line, "#" begins a comment. What is in front of the
// digits (times, directions, prefix words, offsets) and a column of characters behind a "|" are passed over; a dump
// with an offset on each line may spread a message over several lines.
//
// codes: the kind of the integrity codes. Without it they are CRC-32 where at least one message has a right one, and
// are not judged otherwise.
MessageFile readMessages(const std::string& bytes, const std::string& path,
                         const std::optional<omci::Integrity>& codes = {});

// The same of a text alone (HexText.cpp).
MessageFile readHexText(const std::string& text, const std::optional<omci::Integrity>& codes = {});
// The message in bytes whose frame was decoded, with its code judged.
FileMessage judged(std::size_t place, const omci::DecodedFrame& decoded, omci::ByteView bytes,
                   const std::optional<omci::Integrity>& codes);

// The message at the beginning of bytes, which may have padding behind it.
omci::DecodedFrame decodePadded(omci::ByteView bytes);
// A frame's payload behind Ethernet header and VLAN tags; empty where it is of another type.
omci::ByteView messageInEthernet(omci::ByteView frame);

}  // namespace vorn_onu

#endif
