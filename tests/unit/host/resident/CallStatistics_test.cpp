// The adaptor, with a count of what is asked of it and of what it tells.
#include "host/resident/CallStatistics.h"

#include "host/resident/FakeAdaptor.h"
#include "host/resident/Latch.h"

#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace BM_ADAPTOR;
using namespace bmhost;

class CallStatisticsTest : public testing::Test {
protected:
    int ReadLed(int led) {
        CBMIKeys keys;
        keys.Add(Int(BMI_HW_BB_LED_ID, led, true));
        int result = 0;
        m_counting.Row(BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL, keys, result);
        return result;
    }
    int Write(unsigned group) {
        CBMIKeys keys;
        CBMIParams values;
        return m_counting.WriteRow(group, keys, values);
    }
    void Tell(unsigned event, const CBMIParam& param) {
        AdaptorEvent told;
        told.m_event = event;
        told.m_params.Add(param);
        m_counting.Told(told);
    }
    static uint64_t Sum(const Latencies& latencies) {
        return std::accumulate(latencies.m_counts.begin(), latencies.m_counts.end(), uint64_t(0));
    }

    FakeAdaptor m_adaptor;
    CallStatistics m_counting{m_adaptor};
};

TEST_F(CallStatisticsTest, RequestsToTheControllerAreCountedByOutcome) {
    m_adaptor.m_led = [](int, int led) { return led == 1 ? 1 : led == 2 ? 0xC1 : led == 3 ? -1 : NotFound; };
    EXPECT_EQ(1, ReadLed(1));
    EXPECT_EQ(0xC1, ReadLed(2));
    EXPECT_EQ(-1, ReadLed(3));
    EXPECT_EQ(NotFound, ReadLed(4));
    m_adaptor.m_write = [](unsigned) { return 0xFF; };
    EXPECT_EQ(0xFF, Write(BMI_GROUP_BM_IPMI_BASEBOARD_LED));
    m_adaptor.m_write = [](unsigned) { return 0; };
    EXPECT_EQ(0, Write(BMI_GROUP_HARDWARE_AMC_LED_INTERNAL));
    m_adaptor.m_write = [](unsigned) { return RESULT_NO_VALUE; };
    Write(BMI_GROUP_HARDWARE_AMC_LED_INTERNAL);
    m_adaptor.m_led = [](int, int) { return 0; };
    EXPECT_EQ(0, ReadLed(1));
    const Statistics counts = m_counting.Now();
    EXPECT_EQ(1U, counts.m_reads.m_good);
    EXPECT_EQ(1U, counts.m_reads.m_refused);
    EXPECT_EQ(2U, counts.m_reads.m_failed);
    EXPECT_EQ(4U, Sum(counts.m_reads.m_latencies)) << "one that finds no LED does not ask";
    EXPECT_EQ(1U, counts.m_writes.m_good) << "0 is the controller's success";
    EXPECT_EQ(1U, counts.m_writes.m_refused);
    EXPECT_EQ(2U, Sum(counts.m_writes.m_latencies)) << "one without a value does not ask";
    EXPECT_EQ((std::map<int32_t, uint64_t>{{0xC1, 1}, {0xFF, 1}}), counts.m_completionCodes);
    EXPECT_EQ(0U, counts.m_requestsUnderWay);
}

TEST_F(CallStatisticsTest, ARequestThatHasNotComeBackIsUnderWay) {
    Latch entered;
    Latch leave;
    m_adaptor.m_led = [&](int, int) {
        entered.Open();
        leave.Wait();
        return 1;
    };
    std::thread reader([this] { ReadLed(1); });
    entered.Wait();
    EXPECT_EQ(1U, m_counting.Now().m_requestsUnderWay);
    EXPECT_EQ(0U, m_counting.Now().m_reads.m_good);
    leave.Open();
    reader.join();
    EXPECT_EQ(0U, m_counting.Now().m_requestsUnderWay);
    EXPECT_EQ(1U, m_counting.Now().m_reads.m_good);
}

TEST_F(CallStatisticsTest, AnExceptionIsAFailedRequestAndGoesOn) {
    m_adaptor.m_led = [](int, int) -> int { throw std::runtime_error("x"); };
    EXPECT_THROW(ReadLed(1), std::runtime_error);
    const Statistics counts = m_counting.Now();
    EXPECT_EQ(1U, counts.m_reads.m_failed);
    EXPECT_EQ(0U, counts.m_requestsUnderWay);
    EXPECT_TRUE(counts.m_calls.empty());
}

TEST_F(CallStatisticsTest, OtherCallsAreCountedByGroupAndResult) {
    int result = 0;
    m_counting.Table(BMI_GROUP_HARDWARE_BOARD, result);
    m_counting.Table(BMI_GROUP_HARDWARE_BOARD, result);
    m_counting.Table(0x12345, result);
    m_counting.Table(0x12346, result);
    m_adaptor.m_lifecycle = [](Operation) { return 0x30011; };
    m_counting.Lifecycle(Operation::Start);
    const Statistics counts = m_counting.Now();
    ASSERT_EQ(3U, counts.m_calls.size());
    EXPECT_EQ(BMI_GROUP_HARDWARE_BOARD, counts.m_calls[0].m_group);
    EXPECT_EQ("table", counts.m_calls[0].m_operation);
    EXPECT_EQ(2U, counts.m_calls[0].m_count);
    EXPECT_EQ(0U, counts.m_calls[1].m_group) << "unknown groups share a row";
    EXPECT_EQ(2U, counts.m_calls[1].m_count);
    EXPECT_EQ("start", counts.m_calls[2].m_operation);
    EXPECT_EQ(0x30011, counts.m_calls[2].m_result);
    EXPECT_EQ(0U, Sum(counts.m_reads.m_latencies)) << "they do not ask the controller";
}

TEST_F(CallStatisticsTest, UpgradesAreCountedFromTheirBeginningToTheirEnd) {
    Write(BMI_GROUP_FIRMWARE_UPDATE);
    Write(BMI_GROUP_FIRMWARE_UPDATE);
    m_adaptor.m_write = [](unsigned) { return 0; };
    Write(BMI_GROUP_FIRMWARE_UPDATE);
    for (const int state : {UPGRADE_REQUESTED, UPGRADE_DONE, UPGRADE_FAILED, UPGRADE_FAILED})
        Tell(BMI_EVENT_FIRMWARE_UPDATE, Int(BMI_FW_UPDATE_STATE, state));
    Tell(BMI_EVENT_AMC_RUN_STATUS, Int(BMI_HW_AMC_BAY, 3));
    const Statistics counts = m_counting.Now();
    EXPECT_EQ(2U, counts.m_upgradesBegun);
    EXPECT_EQ(1U, counts.m_upgradesRefused);
    EXPECT_EQ(1U, counts.m_upgradesDone);
    EXPECT_EQ(2U, counts.m_upgradesFailed);
    EXPECT_EQ((std::map<uint32_t, uint64_t>{{0x600, 4}, {0x70402, 1}}), counts.m_events);
}

TEST_F(CallStatisticsTest, OrdersAndRestartsAreCounted) {
    OrderOutcome good;
    good.m_result = 1;
    good.m_good = true;
    m_counting.CarriedOut("led-set", good);
    m_counting.CarriedOut("led-set", good);
    m_counting.CarriedOut("led-set", {});
    m_counting.Restarted();
    const Statistics counts = m_counting.Now();
    ASSERT_EQ(2U, counts.m_orders.size());
    EXPECT_EQ(2U, counts.m_orders[0].m_count);
    EXPECT_TRUE(counts.m_orders[0].m_good);
    EXPECT_EQ(1U, counts.m_orders[1].m_count);
    EXPECT_EQ(1U, counts.m_restarts);
}

TEST_F(CallStatisticsTest, ManyThreadsLoseNoCount) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int k = 0; k < 500; ++k)
                ReadLed(1);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(2000U, m_counting.Now().m_reads.m_good);
    EXPECT_EQ(2000U, m_counting.Now().m_calls.at(0).m_count);
}

} // namespace
