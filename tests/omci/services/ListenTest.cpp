// The tool as a living ONU, at a Unix socket. Over UDP, and what comes damaged: omci/live_session.py.
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdio>

#include <nlohmann/json.hpp>

#include "omci/olt/Olt.h"
#include "omci/olt/OperatorServices.h"
#include "support/Emulated.h"
#include "support/Process.h"

namespace {

class SocketLine : public olt::Line {
public:
    SocketLine(const std::string& own, const std::string& onu) : socket_(::socket(AF_UNIX, SOCK_DGRAM, 0)) {
        const sockaddr_un here = placeOf(own), there = placeOf(onu);
        ::bind(socket_, reinterpret_cast<const sockaddr*>(&here), sizeof here);
        becomesTrue([&] { return ::connect(socket_, reinterpret_cast<const sockaddr*>(&there), sizeof there) == 0; });
    }
    ~SocketLine() override { ::close(socket_); }
    SocketLine(const SocketLine&) = delete;
    SocketLine& operator=(const SocketLine&) = delete;

    std::optional<omci::Message> exchange(const omci::Message& request) override {
        const omci::Bytes frame = omci::encodeFrame(request);
        if (::send(socket_, frame.data(), frame.size(), 0) < 0) return {};
        for (pollfd waits{socket_, POLLIN, 0}; poll(&waits, 1, kHangMs) == 1;) {
            std::uint8_t bytes[4096];
            const ssize_t size = ::recv(socket_, bytes, sizeof bytes, 0);
            const auto message =
                omci::decodeFrame({bytes, static_cast<std::size_t>(std::max<ssize_t>(size, 0))}).message;
            if (message.isAnswer && message.transaction == request.transaction) return message;
        }
        return {};
    }

private:
    static sockaddr_un placeOf(const std::string& path) {
        sockaddr_un place{};
        place.sun_family = AF_UNIX;
        std::snprintf(place.sun_path, sizeof place.sun_path, "%s", path.c_str());
        return place;
    }
    const int socket_;
};

// An OLT provisions all services and reads them back; what was written of it makes the same device again.
TEST(Listen, AllServicesStandAndTheCaptureAndTheCallsMakeTheSameDevice) {
    const ScratchDirectory folder;
    const std::string capture = folder.file("exchange.pcapng"), calls = folder.file("calls.json");
    BackgroundProgram onu({kTool, "omci", "--listen", "unix:" + folder.file("onu"), "--json", folder.file("state.json"),
                           "--capture", capture, "--record", calls},
                          folder.file("shown"));
    SocketLine line(folder.file("olt"), folder.file("onu"));
    olt::Olt olt(line);
    ASSERT_EQ(olt.mibReset(), omci::Result::kSuccess);
    EXPECT_EQ(olt.send(olt::allServices()), "");
    EXPECT_EQ(olt.differences(), std::vector<std::string>{});
    EXPECT_EQ(olt.dataSync(), olt.expectedDataSync());
    EXPECT_EQ(onu.end(), 0);
    EXPECT_NE(access(folder.file("onu").c_str(), F_OK), 0) << "the socket goes with the ONU";
    expectHas(onu.output(), {"What is on the device"});
    const auto device = nlohmann::json::parse(contentOf(folder.file("state.json"))).at("device");
    EXPECT_GE(device.at("pon").at("gemPorts").size(), 8U);
    const auto again = runTool({"run", calls, "--forwarding", "g988", "--json", "-"});
    ASSERT_EQ(again.code, 0) << again.output;
    const auto made = nlohmann::json::parse(again.output).at("device");
    for (const char* part : {"network", "pon", "vlan"}) EXPECT_EQ(made.at(part), device.at(part)) << part;
    SKIP_WHEN_EMULATED(kNoLibpcap);
    expectTool({"omci", capture}, 0, {"answered as in the capture"});
}

}  // namespace
