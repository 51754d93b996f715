// The calls of the device that are no messages.
#include "sim/driver/InterfaceCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <sys/ioctl.h>

using namespace BLADESIM;

namespace {

constexpr int g_Caller = 5;
constexpr int g_OtherCaller = 6;

template <typename VALUE>
std::vector<uint8_t> BytesOf(const VALUE& a_Value) {
    std::vector<uint8_t> l_Bytes(sizeof(a_Value));
    std::memcpy(l_Bytes.data(), &a_Value, sizeof(a_Value));
    return l_Bytes;
}

class InterfaceCalls : public testing::Test {
protected:
    template <typename VALUE>
    int Set(uint32_t a_Request, const VALUE& a_Value, int a_Opener = g_Caller) {
        const CALL_RESULT l_Result = m_Calls.Do(a_Opener, a_Request, BytesOf(a_Value));
        EXPECT_TRUE(l_Result.m_Data.empty());
        return l_Result.m_Error;
    }

    template <typename VALUE>
    VALUE Get(uint32_t a_Request, VALUE a_Value = {}, int a_Opener = g_Caller) {
        const CALL_RESULT l_Result = m_Calls.Do(a_Opener, a_Request, BytesOf(a_Value));
        EXPECT_EQ(l_Result.m_Error, 0);
        EXPECT_EQ(l_Result.m_Data.size(), sizeof(a_Value));
        if (l_Result.m_Data.size() == sizeof(a_Value)) std::memcpy(&a_Value, l_Result.m_Data.data(), sizeof(a_Value));
        return a_Value;
    }

    INTERFACE_CALLS m_Calls;
};

using CHANNEL = ipmi_channel_lun_address_set;

} // namespace

TEST_F(InterfaceCalls, StartAsTheKernelDoes) {
    EXPECT_EQ(Get<unsigned>(IPMICTL_GET_MY_ADDRESS_CMD), 0x20U);
    EXPECT_EQ(Get<unsigned>(IPMICTL_GET_MY_LUN_CMD), 2U);
    EXPECT_EQ(Get<CHANNEL>(IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, {15, 0}).value, 0x20);
    EXPECT_EQ(Get<int>(IPMICTL_GET_MAINTENANCE_MODE_CMD), IPMI_MAINTENANCE_MODE_AUTO);
    const auto l_Timing = Get<ipmi_timing_parms>(IPMICTL_GET_TIMING_PARMS_CMD);
    EXPECT_EQ(l_Timing.retries, -1);
    EXPECT_EQ(l_Timing.retry_time_ms, 0U);
}

TEST_F(InterfaceCalls, KeepAddressAndLunOfEachChannelForAllOpeners) {
    EXPECT_EQ(Set(IPMICTL_SET_MY_ADDRESS_CMD, 0x82U), 0);
    EXPECT_EQ(Set(IPMICTL_SET_MY_LUN_CMD, 0x07U), 0);
    EXPECT_EQ(Set(IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD, CHANNEL{7, 0x84}), 0);
    EXPECT_EQ(Set(IPMICTL_SET_MY_CHANNEL_LUN_CMD, CHANNEL{7, 1}), 0);
    EXPECT_EQ(Get<unsigned>(IPMICTL_GET_MY_ADDRESS_CMD, 0, g_OtherCaller), 0x82U);
    EXPECT_EQ(Get<unsigned>(IPMICTL_GET_MY_LUN_CMD, 0, g_OtherCaller), 3U);
    EXPECT_EQ(Get<CHANNEL>(IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, {7, 0}, g_OtherCaller).value, 0x84);
    EXPECT_EQ(Get<CHANNEL>(IPMICTL_GET_MY_CHANNEL_LUN_CMD, {7, 0}, g_OtherCaller).value, 1);
}

TEST_F(InterfaceCalls, RefuseAChannelThatThereIsNone) {
    EXPECT_EQ(Set(IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD, CHANNEL{IPMI_NUM_CHANNELS, 0}), EINVAL);
    EXPECT_EQ(Set(IPMICTL_GET_MY_CHANNEL_LUN_CMD, CHANNEL{IPMI_NUM_CHANNELS, 0}), EINVAL);
}

TEST_F(InterfaceCalls, KeepTimingForEachOpenerUntilHeCloses) {
    EXPECT_EQ(Set(IPMICTL_SET_TIMING_PARMS_CMD, ipmi_timing_parms{3, 250}), 0);
    EXPECT_EQ(Get<ipmi_timing_parms>(IPMICTL_GET_TIMING_PARMS_CMD).retries, 3);
    EXPECT_EQ(Get<ipmi_timing_parms>(IPMICTL_GET_TIMING_PARMS_CMD).retry_time_ms, 250U);
    EXPECT_EQ(Get<ipmi_timing_parms>(IPMICTL_GET_TIMING_PARMS_CMD, {}, g_OtherCaller).retries, -1);
    m_Calls.Forget(g_Caller);
    EXPECT_EQ(Get<ipmi_timing_parms>(IPMICTL_GET_TIMING_PARMS_CMD).retries, -1);
}

TEST_F(InterfaceCalls, KeepTheMaintenanceModeAndRefuseOthersThanThree) {
    EXPECT_EQ(Set(IPMICTL_SET_MAINTENANCE_MODE_CMD, IPMI_MAINTENANCE_MODE_ON), 0);
    EXPECT_EQ(Set(IPMICTL_SET_MAINTENANCE_MODE_CMD, 3), EINVAL);
    EXPECT_EQ(Set(IPMICTL_SET_MAINTENANCE_MODE_CMD, -1), EINVAL);
    EXPECT_EQ(Get<int>(IPMICTL_GET_MAINTENANCE_MODE_CMD, 0, g_OtherCaller), IPMI_MAINTENANCE_MODE_ON);
}

TEST_F(InterfaceCalls, RegisterACommandForOneOpenerOnly) {
    const ipmi_cmdspec l_Command{0x06, 0x01};
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD, l_Command), 0);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD, l_Command, g_OtherCaller), EBUSY);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD, l_Command), EBUSY);
    EXPECT_EQ(Set(IPMICTL_UNREGISTER_FOR_CMD, l_Command, g_OtherCaller), ENOENT);
    EXPECT_EQ(Set(IPMICTL_UNREGISTER_FOR_CMD, l_Command), 0);
    EXPECT_EQ(Set(IPMICTL_UNREGISTER_FOR_CMD, l_Command), ENOENT);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD, l_Command, g_OtherCaller), 0);
    m_Calls.Forget(g_OtherCaller);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD, l_Command), 0);
}

TEST_F(InterfaceCalls, RegisterACommandChannelByChannel) {
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b011}), 0);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b110}, g_OtherCaller), EBUSY);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b100}, g_OtherCaller), 0);
    EXPECT_EQ(Set(IPMICTL_UNREGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b001}), 0);
    EXPECT_EQ(Set(IPMICTL_REGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b001}, g_OtherCaller), 0);
    EXPECT_EQ(Set(IPMICTL_UNREGISTER_FOR_CMD_CHANS, ipmi_cmdspec_chans{0x06, 0x01, 0b110}), 0);
}

TEST_F(InterfaceCalls, TakeAWishForEventsThatNeverCome) {
    EXPECT_EQ(Set(IPMICTL_SET_GETS_EVENTS_CMD, 1), 0);
}

TEST_F(InterfaceCalls, KnowNoOtherCall) {
    EXPECT_EQ(Set(_IOR(IPMI_IOC_MAGIC, 99, int), 1), ENOTTY);
}
