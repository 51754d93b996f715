// LED commands of many host threads at once, answered from another thread by a controller that keeps each LED's state.
#include "ProbeFixture.h"

#include "fake/openipmi/EventLoop.h"
#include "ipmi/model/IPMI_LEDState.h"

#include <array>
#include <atomic>
#include <latch>
#include <map>
#include <thread>
#include <utility>
#include <vector>

using namespace BM_ADAPTOR;

namespace {

constexpr int THREADS = 8;
constexpr int ROUNDS = 200;
constexpr uint8_t FRU_ID = 5;
constexpr int LEDS = 4;

class ProbeLEDThreads : public PROBE_TEST {
protected:
    ProbeLEDThreads() {
        GiveEntity(FRU_ID, LEDS);
        GiveEntity(FRU_ID + 1, LEDS);
        Fake().OnRequest({0x2C, 0x07}, [this](const SENT_REQUEST& a_Request) -> std::optional<BYTES> {
            m_LEDs[Place(a_Request)] = {a_Request.m_Data.at(3), a_Request.m_Data.at(4), a_Request.m_Data.at(5)};
            return BYTES{0x00, 0x00};
        });
        Fake().OnRequest({0x2C, 0x08}, [this](const SENT_REQUEST& a_Request) -> std::optional<BYTES> {
            const auto& l_LED = m_LEDs[Place(a_Request)];
            return BYTES{0x00, 0x00, 0x03, 0x00, 0x00, 0x01, l_LED[0], l_LED[1], l_LED[2]};
        });
    }

    static std::pair<int, int> Place(const SENT_REQUEST& a_Request) {
        return {a_Request.m_Data.at(1), a_Request.m_Data.at(2)};
    }

    LOG_LEVEL_GUARD m_TracesOff{0};
    std::map<std::pair<int, int>, std::array<uint8_t, 3>> m_LEDs; ///< function, on-duration, colour; the fake locks it
    EVENT_LOOP m_Loop;
};

TEST_F(ProbeLEDThreads, EachGetsItsOwnAnswersAndTheLastStateStands) {
    std::latch l_Start(THREADS + 1);
    std::atomic<int> l_Wrong = 0;
    const auto l_Work = [&](int a_Thread) {
        const int l_FRUID = FRU_ID + a_Thread / LEDS;
        const int l_LEDID = a_Thread % LEDS;
        l_Start.arrive_and_wait();
        for (int i = 0; i < ROUNDS; ++i) {
            LED_STATE l_Set;
            l_Set.m_OnTime = 100 + 10 * ((a_Thread * 20 + i) % 150);
            l_Set.m_OffTime = 100 + 10 * (i % 150);
            l_Set.m_Color = 2 + i % 3;
            const int l_Color = l_Set.m_Color;
            if (m_Probe->SendSetPICMCLEDState(l_FRUID, l_LEDID, &l_Set) != 0) ++l_Wrong;
            LED_STATE l_Get;
            if (m_Probe->SendGetPICMCLEDState(l_FRUID, l_LEDID, &l_Get) != 1) ++l_Wrong;
            if (l_Get.m_OnTime != l_Set.m_OnTime / 10 || l_Get.m_OffTime != l_Set.m_OffTime / 10) ++l_Wrong;
            if (l_Get.m_Color != l_Color) ++l_Wrong;
        }
    };
    std::vector<std::thread> l_Threads;
    for (int i = 0; i < THREADS; ++i)
        l_Threads.emplace_back(l_Work, i);
    std::thread l_Resets([&] { // FRU Control waits for nobody and stops nobody
        l_Start.arrive_and_wait();
        for (int i = 0; i < ROUNDS; ++i) {
            m_Probe->SendFRUControl(FRU_ID, 0);
            std::this_thread::yield();
        }
    });
    for (std::thread& l_Thread : l_Threads)
        l_Thread.join();
    l_Resets.join();
    EXPECT_EQ(l_Wrong.load(), 0);
    Fake().WaitUntilIdle();
    for (int i = 0; i < THREADS; ++i) {
        const auto& l_LED = m_LEDs[{FRU_ID + i / LEDS, i % LEDS}];
        EXPECT_EQ(l_LED[0], 10 + (ROUNDS - 1) % 150) << i;
        EXPECT_EQ(l_LED[1], 10 + (i * 20 + ROUNDS - 1) % 150) << i;
    }
}

} // namespace
