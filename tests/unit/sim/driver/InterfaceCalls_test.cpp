// The calls of the device other than messages.
#include "sim/driver/InterfaceCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <sys/ioctl.h>

using namespace bladesim;

namespace {

constexpr int Caller = 5;
constexpr int OtherCaller = 6;

template <typename Value>
std::vector<uint8_t> BytesOf(const Value& value) {
    std::vector<uint8_t> bytes(sizeof(value));
    std::memcpy(bytes.data(), &value, sizeof(value));
    return bytes;
}

class InterfaceCallsTest : public testing::Test {
protected:
    template <typename Value>
    int Set(uint32_t request, const Value& value, int opener = Caller) {
        const CallResult result = m_calls.Do(opener, request, BytesOf(value));
        EXPECT_TRUE(result.m_data.empty());
        return result.m_error;
    }

    template <typename Value>
    Value Get(uint32_t request, Value value = {}, int opener = Caller) {
        const CallResult result = m_calls.Do(opener, request, BytesOf(value));
        EXPECT_EQ(result.m_error, 0);
        EXPECT_EQ(result.m_data.size(), sizeof(value));
        if (result.m_data.size() == sizeof(value)) std::memcpy(&value, result.m_data.data(), sizeof(value));
        return value;
    }

    InterfaceCalls m_calls;
};

using ChannelUse = ipmi_channel_lun_address_set;

} // namespace

TEST_F(InterfaceCallsTest, StartAsTheKernelDoes) {
    EXPECT_EQ(Get<unsigned>(IPMICTL_GET_MY_ADDRESS_CMD), 0x20U);
    EXPECT_EQ(Get<unsigned>(IPMICTL_GET_MY_LUN_CMD), 2U);
    EXPECT_EQ(Get<ChannelUse>(IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, {15, 0}).value, 0x20);
    EXPECT_EQ(Get<int>(IPMICTL_GET_MAINTENANCE_MODE_CMD), IPMI_MAINTENANCE_MODE_AUTO);
    const auto timing = Get<ipmi_timing_parms>(IPMICTL_GET_TIMING_PARMS_CMD);
    EXPECT_EQ(timing.retries, -1);
    EXPECT_EQ(timing.retry_time_ms, 0U);
}

TEST_F(InterfaceCallsTest, KeepAddressAndLunOfEachChannelForAllOpeners) {
    EXPECT_EQ(Set(IPMICTL_SET_MY_ADDRESS_CMD, 0x82U), 0);
    EXPECT_EQ(Set(IPMICTL_SET_MY_LUN_CMD, 0x07U), 0);
    EXPECT_EQ(Set(IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD, ChannelUse{7, 0x84}), 0);
    EXPECT_EQ(Set(IPMICTL_SET_MY_CHANNEL_LUN_CMD, ChannelUse{7, 1}), 0);
    EXPECT_EQ(Get<unsigned>(IPMICTL_GET_MY_ADDRESS_CMD, 0, OtherCaller), 0x82U);
    EXPECT_EQ(Get<unsigned>(IPMICTL_GET_MY_LUN_CMD, 0, OtherCaller), 3U);
    EXPECT_EQ(Get<ChannelUse>(IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, {7, 0}, OtherCaller).value, 0x84);
    EXPECT_EQ(Get<ChannelUse>(IPMICTL_GET_MY_CHANNEL_LUN_CMD, {7, 0}, OtherCaller).value, 1);
}

TEST_F(InterfaceCallsTest, RefuseAChannelThatThereIsNone) {
    EXPECT_EQ(Set(IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD, ChannelUse{IPMI_NUM_CHANNELS, 0}), EINVAL);
    EXPECT_EQ(Set(IPMICTL_GET_MY_CHANNEL_LUN_CMD, ChannelUse{IPMI_NUM_CHANNELS, 0}), EINVAL);
}

TEST_F(InterfaceCallsTest, KeepTimingForEachOpenerUntilHeCloses) {
    EXPECT_EQ(Set(IPMICTL_SET_TIMING_PARMS_CMD, ipmi_timing_parms{3, 250}), 0);
    EXPECT_EQ(Get<ipmi_timing_parms>(IPMICTL_GET_TIMING_PARMS_CMD).retries, 3);
    EXPECT_EQ(Get<ipmi_timing_parms>(IPMICTL_GET_TIMING_PARMS_CMD).retry_time_ms, 250U);
    EXPECT_EQ(Get<ipmi_timing_parms>(IPMICTL_GET_TIMING_PARMS_CMD, {}, OtherCaller).retries, -1);
    m_calls.Forget(Caller);
    EXPECT_EQ(Get<ipmi_timing_parms>(IPMICTL_GET_TIMING_PARMS_CMD).retries, -1);
}

TEST_F(InterfaceCallsTest, KeepTheMaintenanceModeAndRefuseOthersThanThree) {
    EXPECT_EQ(Set(IPMICTL_SET_MAINTENANCE_MODE_CMD, IPMI_MAINTENANCE_MODE_ON), 0);
    EXPECT_EQ(Set(IPMICTL_SET_MAINTENANCE_MODE_CMD, 3), EINVAL);
    EXPECT_EQ(Set(IPMICTL_SET_MAINTENANCE_MODE_CMD, -1), EINVAL);
    EXPECT_EQ(Get<int>(IPMICTL_GET_MAINTENANCE_MODE_CMD, 0, OtherCaller), IPMI_MAINTENANCE_MODE_ON);
}

TEST_F(InterfaceCallsTest, RegisterACommandForOneOpenerOnly) {
    const ipmi_cmdspec command{0x06, 0x01};
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD, command), 0);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD, command, OtherCaller), EBUSY);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD, command), EBUSY);
    EXPECT_EQ(Set(IPMICTL_UNREGISTER_FOR_CMD, command, OtherCaller), ENOENT);
    EXPECT_EQ(Set(IPMICTL_UNREGISTER_FOR_CMD, command), 0);
    EXPECT_EQ(Set(IPMICTL_UNREGISTER_FOR_CMD, command), ENOENT);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD, command, OtherCaller), 0);
    m_calls.Forget(OtherCaller);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD, command), 0);
}

TEST_F(InterfaceCallsTest, RegisterACommandChannelByChannel) {
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b011}), 0);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b110}, OtherCaller), EBUSY);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b100}, OtherCaller), 0);
    EXPECT_EQ(Set(IPMICTL_UNREGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b001}), 0);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b001}, OtherCaller), 0);
    EXPECT_EQ(Set(IPMICTL_UNREGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b110}), 0);
}

TEST_F(InterfaceCallsTest, TakeAWishForEventsThatNeverCome) {
    EXPECT_EQ(Set(IPMICTL_SET_GETS_EVENTS_CMD, 1), 0);
}

TEST_F(InterfaceCallsTest, KnowNoOtherCall) {
    EXPECT_EQ(Set(_IOR(IPMI_IOC_MAGIC, 99, int), 1), ENOTTY);
}
