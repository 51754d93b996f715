// What tests of DSPs and switch ports in several threads need: a storage that lets one thread in at a time, a log that
// calls back, and work that is done once at the right moment.
#pragma once

#include "adaptor/BoardTest.h"

#include "fake/TurnStorage.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <utility>

namespace BM_ADAPTOR::TEST {

/// Does what it is given once, whichever thread comes first.
class ONCE {
public:
    explicit ONCE(std::function<void()> a_Work) : m_Work(std::move(a_Work)) {}
    void operator()() {
        if (!m_bDone.exchange(true)) m_Work();
    }

private:
    std::function<void()> m_Work;
    std::atomic<bool> m_bDone = false;
};

inline void InAnotherThread(const std::function<void()>& a_Work) {
    std::thread(a_Work).join();
}

/// Tells of a line before it is kept.
class HOOKED_LOG : public RECORDING_LOG {
public:
    std::function<void(const std::string& a_Text)> m_AtLine{};

    void Log(int a_Level, const char* a_Component, const char* a_Text) override {
        if (m_AtLine) m_AtLine(a_Text);
        RECORDING_LOG::Log(a_Level, a_Component, a_Text);
    }
};

/// BOARD_TEST whose storage and log several threads may call.
class BOARD_THREAD_TEST : public BOARD_TEST {
protected:
    BOARD_THREAD_TEST() {
        Access::Storage(m_Adaptor) = &m_Turns;
        RecordBmiLogTo(&m_Hooked);
        GiveEth6({0x02, 0, 0, 0, 0, 0x10});
    }
    ~BOARD_THREAD_TEST() override {
        BoardDriver().m_AtCall = {};
        RecordBmiLogTo(&m_Log);
        EXPECT_EQ(m_Turns.m_Misuses, 0);
        EXPECT_FALSE(m_Turns.m_IsOpen);
    }

    TURN_STORAGE m_Turns;
    HOOKED_LOG m_Hooked;
};

} // namespace BM_ADAPTOR::TEST
