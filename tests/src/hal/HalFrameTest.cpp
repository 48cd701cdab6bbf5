// What the daemon gets from the factory. The order of the object's slots: OperationListTest.cpp.
#include <memory>

#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "hal/HALFactory.h"
#include "hal/Memory.h"
#include "support/OnuFixture.h"

namespace {

class HalFrame : public OnuFixture {};

TEST_F(HalFrame, TheObjectIsMadeOnceAndThenHandedOutForEveryType) {
    HALFactory& factory = *HALFactory::getInstance();
    VornHal* hal = nullptr;
    EXPECT_EQ(printedBy([&] { hal = factory.CreateHALObject(0); }),
              "\n The BRCM hal intialized************************\n");
    ASSERT_NE(dynamic_cast<VornBrcmHal*>(hal), nullptr);
    EXPECT_EQ(dynamic_cast<VornBrcmHal*>(hal)->engine, EtherSwitchBcm380::m_Instance);
    for (const int type : {0, 1, 7}) {
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(factory.CreateHALObject(type), hal); }), "") << type;
    }
}

TEST_F(HalFrame, PlatformsThatAreNotBuiltGiveNoObject) {
    HALFactory& factory = *HALFactory::getInstance();
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(factory.CreateHALObject(1), nullptr); }),
              "\n The cortina hal intialized************************\n");
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(factory.CreateHALObject(7), nullptr); }),
              "Default, we shouldn't be reach here!!");
}

// A daemon may have put a buffer of its own behind std::cout.
TEST_F(HalFrame, TheFactorysTextsGoThroughTheStandardStreamInOrder) {
    HALFactory& factory = *HALFactory::getInstance();
    EXPECT_EQ(streamedBy([&] { factory.CreateHALObject(7); }), "Default, we shouldn't be reach here!!");
    EXPECT_EQ(printedBy([&] {
                  std::printf("first ");
                  factory.CreateHALObject(1);
                  std::printf("last");
              }),
              "first \n The cortina hal intialized************************\nlast");
}

TEST_F(HalFrame, DestroyingTheFactoryIsHarmlessAndKeepsTheHalObject) {
    VornHal* const hal = HALFactory::getInstance()->CreateHALObject(0);
    delete HALFactory::getInstance();
    EXPECT_EQ(HALFactory::m_Instance, nullptr);
    EXPECT_EQ(HALFactory::getInstance()->CreateHALObject(0), hal);
    EXPECT_EQ(hal->vorn_test_call(), 4);
}

TEST_F(HalFrame, DestroyingTheHalObjectFreesTheEngineOnce) {
    auto hal = std::make_unique<VornBrcmHal>();
    hal->engine = &engine();
    hal.reset();
    EXPECT_EQ(EtherSwitchBcm380::m_Instance, nullptr);
    EXPECT_FALSE(engine().isInterfaceExisted("sid8")) << "a new engine must work";
    // Destroyed directly, the engine must not come back to itself either.
    delete EtherSwitchBcm380::m_Instance;
    EXPECT_EQ(EtherSwitchBcm380::m_Instance, nullptr);
    EtherSwitchBcm380::deleteInstance();
}

TEST_F(HalFrame, DaemonMemoryIsZeroedAndFreedOnce) {
    void* block = omci_malloc(16);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(static_cast<char*>(block), 16), std::string(16, '\0'));
    EXPECT_EQ(printedBy([&] { omci_free(&block); }), "");
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(printedBy([&] { omci_free(&block); }), "can't free null point");
    EXPECT_EQ(printedBy([] { omci_free(nullptr); }), "can't free null point");
    for (const int size : {0, -5}) {
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(omci_malloc(size), nullptr); }), "size is less than 0") << size;
    }
}

}  // namespace
