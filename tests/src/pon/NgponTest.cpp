#include <cerrno>
#include <cstring>
#include <functional>

#include "platform/kit_numbers.h"
#include "src/pon/AdapterFixture.h"
#include "xpon/OnuXponHalAdapterBcmNgponLib.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Adapter = OnuXponHalAdapterBCM;

using Ngpon = AdapterFixture;

// A HAL record as bytes, handed to a member of the adapter.
struct Query {
    unsigned request;
    const char* errorName;
    std::size_t size;
    std::vector<std::pair<std::size_t, std::size_t>> sent;    // first and last byte that the driver gets
    std::vector<std::pair<std::size_t, std::size_t>> filled;  // first and last byte that the driver answers
    std::vector<std::pair<std::size_t, std::size_t>> zeroed;  // GEM port counters of which there are none
    std::function<int(void*)> ask;
};

template <typename Record>
std::function<int(void*)> member(int (Adapter::*query)(Record*)) {
    return [query](void* record) { return (Adapter::getInstance()->*query)(static_cast<Record*>(record)); };
}

// clang-format off
const Query kQueries[] = {
    {200, "NGPON_STACK_IOC_GET_TX_CHENNEL", 4, {}, {{0, 1}}, {}, member(&Adapter::getTxChannelState)},
    {201, "NGPON_STACK_IOC_GET_RX_CHENNEL", 4, {}, {{0, 1}}, {}, member(&Adapter::getRxChannelState)},
    {203, "NGPON_STACK_IOC_GET_TWDM_SYSTEM_PROFILE",
     24, {{0, 0}}, {{0, 1}, {4, 23}}, {}, member(&Adapter::getTwdmSystemProfileME)},
    {204, "NGPON_STACK_IOC_SET_TWDM_SYSTEM_PROFILE",
     24, {{0, 1}, {4, 23}}, {}, {}, member(&Adapter::setTwdmSystemProfileME)},
    {205, "NGPON_STACK_IOC_SET_TWDM_CHANNEL", 8, {{0, 0}}, {{1, 4}}, {}, member(&Adapter::getTwdmChannelME)},
    {206, "NGPON_STACK_IOC_GET_TWDM_LODS_PM_DATA", 64, {{0, 0}}, {{8, 63}}, {}, member(&Adapter::getTwdmLodspmMe)},
    {207, "NGPON_STACK_IOC_GET_TWDM_CHANNEL_XGEM_HD",
     72, {{0, 0}}, {{16, 23}, {32, 71}}, {{8, 15}, {24, 31}}, member(&Adapter::getTwdmChannelXgemHDME)},
    {208, "NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM1",
     28, {{0, 0}}, {{4, 27}}, {}, member(&Adapter::getTwdmPloamPmHist1Me)},
    {209, "NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM2",
     60, {{0, 0}}, {{4, 59}}, {}, member(&Adapter::getTwdmPloamPmHist2Me)},
    {210, "NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM3",
     48, {{0, 0}}, {{4, 47}}, {}, member(&Adapter::getTwdmPloamPmHist3Me)},
    {211, "NGPON_STACK_IOC_GET_TWDM_TUNING_PM_HS1",
     56, {{0, 0}}, {{4, 55}}, {}, member(&Adapter::getTwdmMTunningPMHistory1)},
    {212, "NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD2",
     56, {{0, 0}}, {{4, 55}}, {}, member(&Adapter::getTwdmChannelTuningHD2ME)},
    {213, "NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_HD3",
     36, {{0, 0}}, {{4, 35}}, {}, member(&Adapter::getTwdmChannelTuningHD3ME)},
    {214, "NGPON_STACK_IOC_GET_TWDM_CHANNEL_OMCI_PM_HD",
     16, {{0, 0}}, {{4, 15}}, {}, member(&Adapter::getTwdmChannelOmciHDME)},
};
// clang-format on

Bytes answerBytes(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i + 100);
    return bytes;
}

TEST_F(Ngpon, EachQueryExchangesExactlyItsBytes) {
    for (const Query& query : kQueries) {
        SCOPED_TRACE(query.errorName);
        const Bytes answer = answerBytes(query.size + 2);  // no byte past the driver's record is taken
        onu().setStackAnswer(query.request, {query.filled.empty() ? Bytes{} : answer, 0});
        // A guard behind the record shows an overrun.
        alignas(8) std::uint8_t record[80];
        std::fill(std::begin(record), std::end(record), std::uint8_t{0xEE});
        Bytes want(std::begin(record), std::end(record));
        for (const auto& [first, last] : query.filled) {
            for (std::size_t i = first; i <= last; ++i) want[i] = answer[i];
        }
        for (const auto& [first, last] : query.zeroed) {
            for (std::size_t i = first; i <= last; ++i) want[i] = 0;
        }
        EXPECT_EQ(query.ask(record), 0);
        EXPECT_EQ(Bytes(std::begin(record), std::end(record)), want);

        Bytes sent(query.size);
        for (const auto& [first, last] : query.sent) {
            for (std::size_t i = first; i <= last; ++i) sent[i] = 0xEE;
        }
        EXPECT_EQ(onu().stackRequest(query.request), sent);
        EXPECT_EQ(query.ask(nullptr), EINVAL);
    }
}

TEST_F(Ngpon, AFailedQueryLeavesEveryByteAndPrintsItsName) {
    for (const bool present : {true, false}) {
        if (!present) onu().removeFile(NGPON2_STACK_DEVICE);
        for (const Query& query : kQueries) {
            SCOPED_TRACE(query.errorName);
            onu().setStackAnswer(query.request, {answerBytes(query.size), EIO});
            alignas(8) std::uint8_t record[80];
            std::fill(std::begin(record), std::end(record), std::uint8_t{0xEE});
            const std::string printed = printedBy([&] { EXPECT_EQ(query.ask(record), present ? EIO : 101); });
            EXPECT_EQ(Bytes(std::begin(record), std::end(record)), Bytes(80, 0xEE));
            EXPECT_TRUE(contains(printed, std::string(": NGPON2 ioctl error in ") + query.errorName + "\n"));
            const bool notOpened = printed.find(": Failed to bcm_dev_open /dev/ngpon2_stack\n\n") != std::string::npos;
            EXPECT_EQ(notOpened, !present);
            EXPECT_EQ(printed.find("[ERROR ngponctl] "), 0u);
        }
    }
}

TEST_F(Ngpon, OneWordOfPloamPm1IsARunningTotalOverAllChannels) {
    const auto ask = [](std::uint8_t channel, std::uint32_t reported) {
        Bytes answer(28);
        std::memcpy(&answer[8], &reported, sizeof reported);
        onu().setStackAnswer(NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM1, {answer, 0});
        TWDMPloamPM1_t record{};
        record.channel = channel;
        EXPECT_EQ(adapter().getTwdmPloamPmHist1Me(&record), 0);
        return record.runningTotal;
    };
    const std::uint32_t before = ask(1, 0);
    EXPECT_EQ(ask(1, 5) - before, 5u);
    EXPECT_EQ(ask(2, 5) - before, 10u);
    Adapter::destroyInstance();
    EXPECT_EQ(ask(1, 5) - before, 15u) << "the total outlives the adapter";
    EXPECT_EQ(ask(1, 0xFFFFFFFF) - before, 14u) << "and wraps";
}

TEST_F(Ngpon, XgemCountersComeFromGponControlToo) {
    onu().addGemPort(65535, 65534);
    onu().setGemCounter(65535, 4, 0x89ABCDEF);
    onu().setGemCounter(65535, 5, 77);
    TWDMChannelXGEMPMHistoryData_t record{};
    EXPECT_EQ(adapter().getTwdmChannelXgemHDME(&record), 0);
    EXPECT_EQ(record.firstGemCounter, 0x89ABCDEF);
    EXPECT_EQ(record.secondGemCounter, 77u);
    EXPECT_EQ(onu().traceTexts(virtual_onu::CallKind::Platform),
              std::vector<std::string>{"gponCtl_getGemPortCounters(65534, 65535) = 0"});
}

TEST_F(Ngpon, TheI2cDumpIsAsLongAsTheModuleSays) {
    const Bytes image = answerBytes(200);
    onu().setI2cImage(image);
    Bytes buffer(201, 0xEE);
    EXPECT_EQ(adapter().getI2CDump(reinterpret_cast<char*>(buffer.data())), 0);
    EXPECT_EQ(Bytes(buffer.begin(), buffer.end() - 1), image);
    EXPECT_EQ(buffer.back(), 0xEE);
    EXPECT_EQ(onu().openDescriptors(), 0);

    EXPECT_EQ(adapter().getI2CDump(nullptr), 0);
    EXPECT_EQ(onu().openDescriptors(), 1) << "without a buffer the device stays open";
    OnuXponHalAdapterBcmNgponLib::getInstance()->closeLaserFd();

    onu().failNext("ioctl:LASER_IOC_GET_I2C_DUMP", 1, EIO);
    std::string printed =
        printedBy([&] { EXPECT_LT(adapter().getI2CDump(reinterpret_cast<char*>(buffer.data())), 0); });
    EXPECT_TRUE(contains(printed, ": Laser driver IOCTL error on I2C dump\n"));
    EXPECT_EQ(onu().openDescriptors(), 0);
    onu().removeFile("/dev/laser_dev");
    printed = printedBy([&] { EXPECT_LT(adapter().getI2CDump(reinterpret_cast<char*>(buffer.data())), 0); });
    EXPECT_TRUE(contains(printed, ": open system call is failed for laser driver\n"));
}

}  // namespace
