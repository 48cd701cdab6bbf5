// Real packets go through the data path as bytes; the walk that people read takes a frame's fields. Both must be the
// same way. A segment stands for frames: with each of them alone the board is the same in the end.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/vlanctl.h"
#include "support/OnuFixture.h"
#include "virtual_onu/Segments.h"

namespace {

using virtual_onu::Frame;
using virtual_onu::GroupMessage;
using virtual_onu::kReceive;
using virtual_onu::kTransmit;
using virtual_onu::WireExit;
using virtual_onu::WireFrame;

using Bytes = std::vector<std::uint8_t>;

constexpr unsigned kCarriedPort = 1001, kCarriedIndex = 7;

std::string textOf(const WireExit& exit) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text = exit.device + (exit.gemPort ? " gem " + std::to_string(*exit.gemPort) : "") + " ";
    for (const std::uint8_t byte : exit.bytes) text += {kDigits[byte >> 4], kDigits[byte & 0xF]};
    return text;
}

// Frames and changes of the rules, drawn by chance, the same for the same seed.
class RandomTraffic {
public:
    explicit RandomTraffic(unsigned seed) : random_(seed) {}
    unsigned below(unsigned end) { return std::uniform_int_distribution<unsigned>(0, end - 1)(random_); }
    bool oneIn(unsigned many) { return below(many) == 0; }
    template <typename Value>
    Value of(std::initializer_list<Value> values) {
        return *(values.begin() + below(static_cast<unsigned>(values.size())));
    }

    Bytes frame() {
        Frame made;
        made.source = of({"02:00:00:00:00:01", "02:00:00:00:00:02", "02:00:00:00:00:03", "01:00:5e:00:00:01"});
        made.destination = of({"02:00:00:00:00:01", "02:00:00:00:00:02", "02:00:00:00:00:03", "ff:ff:ff:ff:ff:ff",
                               "01:00:5e:01:02:03", "33:33:00:00:00:15", "01:80:c2:00:00:00"});
        for (unsigned left = below(6) % 5; left > 0; --left)
            made.tags.push_back({of<std::uint16_t>({0x8100, 0x8100, 0x88A8, 0x9100}),
                                 static_cast<std::uint8_t>(below(8)), oneIn(4),
                                 of<std::uint16_t>({0, 100, 100, 200, 4095})});
        made.etherType = of<std::uint16_t>({0x0800, 0x0800, 0x86DD, 0x0806, 0x8863, 0x8864, 0x888E, 0x1234});
        made.dscp = static_cast<std::uint8_t>(below(64));
        const bool ip = made.etherType == 0x0800 || made.etherType == 0x86DD;
        if (ip && oneIn(2)) made.ipProtocol = of<std::uint8_t>({1, 2, 6, 17, 58});
        if (ip && oneIn(3))
            made.groupMessage =
                GroupMessage{of({GroupMessage::Kind::Query, GroupMessage::Kind::Report, GroupMessage::Kind::Leave}),
                             made.etherType == 0x0800 ? of<std::string>({"239.1.2.3", "224.1.2.3", ""})
                                                      : of<std::string>({"ff15::15", ""}),
                             100 * below(200)};
        if (!made.groupMessage && oneIn(2)) made.payloadSize = 60 + below(1500);
        Bytes bytes = made.bytes();
        for (std::size_t cut = oneIn(10) ? below(70) : 0; cut > 0 && bytes.size() > 20; --cut) bytes.pop_back();
        return bytes;
    }

    // One frame to 44 of them.
    Segments segments() {
        Segments made;
        Frame frame;
        frame.source = of({"02:00:00:00:00:01", "02:00:00:00:00:02", "02:00:00:00:00:03"});
        frame.destination = of({"02:00:00:00:00:01", "02:00:00:00:00:02", "02:00:00:00:00:03", "01:00:5e:01:02:03"});
        for (unsigned left = below(6) % 5; left > 0; --left)
            frame.tags.push_back({of<std::uint16_t>({0x8100, 0x8100, 0x8100, 0x88A8, 0x9100}),
                                  static_cast<std::uint8_t>(below(8)), oneIn(4), of<std::uint16_t>({0, 100, 200})});
        made.ipv6 = oneIn(2);
        made.udp = oneIn(3);
        frame.etherType = made.ipv6 ? 0x86DD : 0x0800;
        made.ethernet = frame.header();
        made.dscp = below(64);
        made.identification = of({0U, 0xFFF0U, below(0x10000)}) & 0xFFFF;
        made.sequence = of({0U, 0xFFFFFF00U, below(0x7FFFFFFF)});
        made.ipOptions = oneIn(5) ? 1 + below(3) : 0;
        made.tcpOptions = oneIn(2) ? 3 : 0;
        made.tcpFlags = of<std::uint8_t>({0x10, 0x18, 0x19, 0x90, 0x98});
        made.inEach = of<std::size_t>({1, 2, 7, 100, 536, 1400, 1428, 1448, 1460, 1472, 1600});
        const std::size_t most = std::min<std::size_t>(44, 64000 / made.inEach);
        const std::size_t whole = oneIn(6) ? 0 : 1 + below(static_cast<unsigned>(most - 1));
        made.content.resize(whole * made.inEach + 1 + below(static_cast<unsigned>(made.inEach)));
        for (std::uint8_t& octet : made.content) octet = static_cast<std::uint8_t>(random_());
        return made;
    }

    void rule() {
        vlanCtl_initTagRule();
        if (oneIn(2)) vlanCtl_filterOnTagVid(of({100u, 200u}), 0);
        if (oneIn(4)) vlanCtl_filterOnTagPbits(below(8), 0);
        if (oneIn(5)) vlanCtl_filterOnEthertype(of({0x0800u, 0x0806u}));
        if (oneIn(5)) vlanCtl_filterOnIpProto(of({2u, 17u}));
        const bool pon = oneIn(3), received = oneIn(2);
        const std::string port = pon ? "gpondef" : of<std::string>({"sid0", "sid1"});
        const std::string device = pon ? "gpondef.3" : port + ".3";
        if (received)
            vlanCtl_setReceiveVlanDevice(device.c_str());
        else
            vlanCtl_filterOnTxVlanDevice(device.c_str());
        if (oneIn(3)) vlanCtl_cmdPushVlanTag();
        if (oneIn(3)) vlanCtl_cmdPopVlanTag();
        if (oneIn(3)) vlanCtl_cmdSetTagVid(of({100u, 200u, 300u}), 0);
        if (oneIn(4)) vlanCtl_cmdDscpToPbits(0);
        if (oneIn(4)) vlanCtl_cmdSetTagEtherType(0x88A8, 0);
        if (oneIn(9)) vlanCtl_cmdDropFrame();
        if (pon && !received) vlanCtl_cmdSetSkbMarkPort(kCarriedIndex);
        if (pon && !received && oneIn(2)) vlanCtl_cmdSetSkbMarkQueue(of({0u, 2u, 5u}));
        unsigned id = 0;
        vlanCtl_insertTagRule(port.c_str(), received ? kReceive : kTransmit, below(3),
                              oneIn(2) ? VLANCTL_POSITION_APPEND : VLANCTL_POSITION_FRONT, VLANCTL_DONT_CARE, &id);
    }

private:
    std::mt19937 random_;
};

class Carrying : public OnuFixture {
protected:
    static void run(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }

    static void setUpBoard() {
        onu().reset();
        run("brctl addbr br3");
        for (const char* port : {"sid0", "sid1", "gpondef"}) {
            const std::string device = std::string(port) + ".3";
            ASSERT_TRUE(onu().addDevice(device, port));
            run("brctl addif br3 " + device);
            for (const std::string& name : {std::string(port), device}) run("ifconfig " + name + " up");
            vlanCtl_init();
            for (unsigned tags = 0; tags <= 2; ++tags)
                vlanCtl_setDefaultAction(port, kReceive, tags, 0, device.c_str());
        }
        run("ifconfig br3 up");
        addGemPortOnTcont();
        enableGemPort(kCarriedPort);
    }

    static std::vector<WireExit> walked(const std::string& from, const Bytes& bytes) {
        WireFrame wire;
        if (!readFrame(bytes.data(), bytes.size(), bytes.size(), wire)) return {};
        const auto walk =
            from.empty() ? onu().sendFromPon(kCarriedPort, wire.frame) : onu().sendFromPort(from, wire.frame);
        std::vector<WireExit> exits;
        for (const auto& exit : walk.exits) {
            exits.push_back({exit.device, exit.gemPort, {}});
            writeFrame(exit.frame, bytes.data(), bytes.size(), wire.payloadAt, exits.back().bytes);
        }
        return exits;
    }

    static void change(RandomTraffic& chance) {
        switch (chance.below(4)) {
            case 0:
            case 1:
                return chance.rule();
            case 2:
                return run(std::string("ifconfig ") + chance.of({"sid0.3", "sid1.3", "gpondef.3"}) +
                           (chance.oneIn(3) ? " down" : " up"));
            default:
                onu().setPhy(0, !chance.oneIn(3), 1000, 1);
                return onu().advance(chance.below(2000));
        }
    }

    struct Kinds {
        std::size_t whole = 0, cut = 0, tooLongInPart = 0;
    };
    static std::vector<WireExit> carried(const std::string& from, const Bytes& bytes,
                                         const virtual_onu::Offload& offload = {}) {
        return from.empty() ? onu().carryFromPon(kCarriedPort, bytes, offload)
                            : onu().carryFromPort(from, bytes, offload);
    }
    // The frames that leave, by where they do; those of several copies in any order.
    static std::string leaving(const std::string& from, const Segments& segments, bool asSegment, Kinds& kinds) {
        std::map<std::string, std::vector<std::string>> frames;
        const auto add = [&](const WireExit& exit) {
            const auto each = framesOf(exit.bytes, exit.offload);
            for (const Bytes& bytes : each) frames[exit.device].push_back(textOf({exit.device, exit.gemPort, bytes}));
            return each.size();
        };
        std::size_t copies = 0;
        if (asSegment) {
            const auto exits = carried(from, segments.whole(), segments.offload());
            for (const WireExit& exit : exits) {
                ++(add(exit) > 1 ? kinds.whole : kinds.cut);
                const std::size_t headers = exit.bytes.size() - segments.content.size();
                EXPECT_TRUE(exit.offload.cut == virtual_onu::Offload::Cut::None || exit.offload.headers == headers);
            }
            copies = exits.size();
            kinds.tooLongInPart += segments.count() > 2 && copies == 1 && segments.inEach == 1600 ? 1 : 0;
        } else {
            for (std::size_t i = 0; i < segments.count(); ++i)
                for (const WireExit& exit : carried(from, segments.frame(i))) add(exit);
        }
        std::string text;
        for (auto& [device, all] : frames) {
            std::sort(all.begin(), all.end());
            for (const std::string& one : all) text += " | " + one;
        }
        return text;
    }

    static void addCounted(std::vector<std::string>& lines) {
        const nlohmann::json state = onu().toJson();
        for (const char* part : {"network", "pon"}) lines.push_back(state.at(part).dump());
        for (const auto& one : onu().frameCounts())
            lines.push_back(one.fate + (one.upstream ? " up " : " down ") + std::to_string(one.frames));
    }

    // What leaves of each segment, and what the board has counted and learned in the end.
    static std::vector<std::string> segmentHistory(unsigned seed, bool asSegment, Kinds& kinds) {
        setUpBoard();
        RandomTraffic chance(seed);
        std::vector<std::string> lines;
        for (int step = 0; step < 300; ++step) {
            if (chance.oneIn(8)) change(chance);
            const std::string from = chance.of<std::string>({"sid0", "sid1", ""});
            const Segments segments = chance.segments();
            lines.push_back(std::to_string(step) + " from " + from + leaving(from, segments, asSegment, kinds));
        }
        addCounted(lines);
        return lines;
    }

    // What leaves, frame by frame, and what the board has counted and learned in the end.
    static std::vector<std::string> history(unsigned seed, bool asBytes) {
        setUpBoard();
        RandomTraffic chance(seed);
        std::vector<std::string> lines;
        for (int step = 0; step < 1500; ++step) {
            if (chance.oneIn(12)) change(chance);
            const std::string from = chance.of<std::string>({"sid0", "sid1", "", "sid5"});
            const Bytes bytes = chance.frame();
            const auto exits = asBytes ? carried(from, bytes) : walked(from, bytes);
            std::string line = std::to_string(step) + " from " + from;
            for (const WireExit& exit : exits) line += " | " + textOf(exit);
            lines.push_back(line);
        }
        addCounted(lines);
        return lines;
    }
};

TEST_F(Carrying, BytesGoTheWayOfTheWalkAndAreCountedAlike) {
    std::size_t left = 0;
    for (unsigned seed = 1; seed <= 8; ++seed) {
        const auto walked = history(seed, false), carried = history(seed, true);
        ASSERT_EQ(walked.size(), carried.size());
        for (std::size_t i = 0; i < walked.size(); ++i) {
            ASSERT_EQ(walked[i], carried[i]) << "seed " << seed;
            left += contains(walked[i], " | ") ? 1 : 0;
        }
    }
    EXPECT_GT(left, 1000u) << "hardly a frame has left: the comparison says nothing";
}

TEST_F(Carrying, SegmentIsTheFramesThatItStandsFor) {
    Kinds kinds;
    for (unsigned seed = 1; seed <= 8; ++seed) {
        const auto alone = segmentHistory(seed, false, kinds), together = segmentHistory(seed, true, kinds);
        ASSERT_EQ(alone.size(), together.size());
        for (std::size_t i = 0; i < alone.size(); ++i)
            ASSERT_TRUE(alone[i] == together[i]) << "seed " << seed << "\n"
                                                 << alone[i].substr(0, 4000) << "\n"
                                                 << together[i].substr(0, 4000);
    }
    EXPECT_GT(kinds.whole, 300u);
    EXPECT_GT(kinds.cut, 300u);
    EXPECT_GT(kinds.tooLongInPart, 10u) << "the MTU lets the last frame pass alone";
}

TEST_F(Carrying, SegmentThatDoesNotFitItsBytesIsNone) {
    setUpBoard();
    Segments tcp;
    tcp.ethernet = Frame().header();
    tcp.content.resize(3000);
    using Offload = virtual_onu::Offload;
    const std::pair<const char*, void (*)(Offload&)> cases[] = {
        {"no checksum left", [](Offload& left) { left.checksum = false; }},
        {"frames without content", [](Offload& left) { left.segmentOctets = 0; }},
        {"of the other IP", [](Offload& left) { left.cut = Offload::Cut::TcpIpv6; }},
        {"of the other protocol", [](Offload& left) { left.cut = Offload::Cut::Udp, left.checksumPlace = 6; }},
        {"of no protocol", [](Offload& left) { left = {Offload::Cut::Udp, false, true, 15, 6, 0, 1000}; }},
        {"checksum from within the addresses", [](Offload& left) { left.checksumFrom = 3; }},
        {"checksum from behind TCP", [](Offload& left) { left.checksumFrom += 4; }},
        {"checksum from behind the end", [](Offload& left) { left.checksumFrom = 0xFFFF; }},
        {"checksum elsewhere", [](Offload& left) { left.checksumPlace = 17; }},
        {"checksum behind the end", [](Offload& left) { left.checksumPlace = 0xFFFF; }},
    };
    for (const auto& [what, change] : cases) {
        Offload left = tcp.offload();
        change(left);
        EXPECT_TRUE(framesOf(tcp.whole(), left).empty()) << what;
        EXPECT_TRUE(onu().carryFromPort("sid0", tcp.whole(), left).empty()) << what;
    }
    for (std::size_t size = 0; size < 60; ++size) {
        Bytes bytes = tcp.whole();
        bytes.resize(size);
        EXPECT_LE(framesOf(bytes, tcp.offload()).size(), 1u) << size << " octets";
    }
    EXPECT_EQ(framesOf(tcp.whole(), tcp.offload()).size(), 3u);
}

TEST_F(Carrying, UnchangedFramesLeaveWithTheBytesThatCameIn) {
    setUpBoard();
    RandomTraffic chance(1);
    unsigned left = 0;
    for (int i = 0; i < 2000; ++i) {
        const Bytes bytes = chance.frame();
        for (const WireExit& exit : onu().carryFromPort("sid0", bytes)) {
            if (exit.device != "sid1") continue;
            ASSERT_EQ(textOf(exit), textOf({"sid1", {}, bytes}));
            ++left;
        }
    }
    EXPECT_GT(left, 100u);
}

}  // namespace
