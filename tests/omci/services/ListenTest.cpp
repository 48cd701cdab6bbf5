// The tool as a living ONU: an OLT provisions all services over the socket, reads them back and takes them down.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "omci/olt/Olt.h"
#include "omci/olt/OperatorServices.h"
#include "omci/services/SocketLine.h"

namespace {

TEST(Listen, AnOltProvisionsAllServicesReadsThemBackAndTheStateTellsThem) {
    SocketLine line;
    olt::Olt olt(line);
    ASSERT_EQ(olt.mibReset(), omci::Result::kSuccess);
    for (const auto& service : olt::operatorServices()) EXPECT_EQ(olt.send(service.requests), "") << service.name;
    EXPECT_EQ(olt.differences(), std::vector<std::string>{});
    EXPECT_EQ(olt.dataSync(), olt.expectedDataSync());
    EXPECT_EQ(line.end(), 0);
    EXPECT_FALSE(line.socketExists());
    EXPECT_NE(line.shown().find("What stands on the device"), std::string::npos);
    const auto state = nlohmann::json::parse(line.state());
    const auto standing = state.at("device").at("pon").at("gemPorts").size();
    EXPECT_GE(standing, 8U);
}

TEST(Listen, ADeviceIsAsNewWhenTheOltHasTakenEverythingDown) {
    SocketLine line;
    olt::Olt olt(line);
    ASSERT_EQ(olt.mibReset(), omci::Result::kSuccess);
    EXPECT_EQ(olt.send(olt::internet().requests), "");
    EXPECT_EQ(olt.send(olt.removal()), "");
    EXPECT_EQ(olt.differences(), std::vector<std::string>{});
    EXPECT_EQ(olt.dataSync(), olt.expectedDataSync());
    EXPECT_EQ(line.end(), 0);
    const auto state = nlohmann::json::parse(line.state());
    EXPECT_TRUE(state.at("device").at("pon").at("gemPorts").empty());
}

}  // namespace
