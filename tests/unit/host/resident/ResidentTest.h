// A resident host with an adaptor that does what the test wants.
#pragma once

#include "host/resident/Resident.h"

#include "host/TestFolder.h"
#include "host/resident/FakeAdaptor.h"
#include "host/resident/Latch.h"

#include "bm_dev/HostLog.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace bmhost {

using namespace BM_ADAPTOR;
using namespace std::chrono_literals;

/// An answer that somebody waits for.
class Waiting {
public:
    Answered Taker() {
        return [this](Answer answer) {
            m_answer = std::move(answer);
            m_came.Open();
        };
    }
    const Answer& Get() {
        m_came.Wait();
        return m_answer;
    }
    bool HasCome() { return m_came.IsOpen(); }

private:
    Latch m_came;
    Answer m_answer;
};

inline OrderOutcome Good() {
    OrderOutcome outcome;
    outcome.m_result = 1;
    outcome.m_good = outcome.m_changed = true;
    return outcome;
}

class ResidentTest : public testing::Test {
protected:
    ResidentTest() { bm_dev::LogToConsole(false); }
    ~ResidentTest() override { bm_dev::LogToConsole(true); }

    Resident& Host() {
        if (!m_host) {
            ResidentListeners listeners;
            listeners.m_lifecycle = [this](Operation operation, const CallOutcome& outcome) {
                const std::lock_guard lock(m_guard);
                m_told += std::string(OperationName(operation)) + " " + std::to_string(outcome.m_result) + "\n";
            };
            listeners.m_event = [](const AdaptorEvent&) {};
            listeners.m_health = [](const HealthChange&) {};
            listeners.m_upgradeEnded = [this](const UpgradeFacts& upgrade) { m_ended.push_back(upgrade); };
            listeners.m_wantsToEnd = [this] { m_wantsToEnd.Open(); };
            m_host = std::make_unique<Resident>(m_adaptor, m_log.Lines(), HostFacts{}, m_folder.Path(), m_settings,
                                                listeners,
                                                [this](const Order& order, Session& session, const Picture& picture) {
                                                    return m_carry(order, session, picture);
                                                });
        }
        return *m_host;
    }
    void Begin(bool start = true) {
        Host().Begin(start);
        Wait([&](const Picture& picture) {
            const auto& init = picture.m_host.m_init;
            if (!init || !picture.m_calls.empty()) return false;
            // Between init and start no call is under way either.
            return !start || init->m_result != Success || m_adaptor.Made().find("start") != std::string::npos;
        });
    }
    template <typename Condition>
    void Wait(const Condition& condition) {
        EXPECT_TRUE(Comes([&] {
            Host().Tick();
            return condition(*Host().Now());
        }));
    }
    static Call Read(unsigned group) {
        Call call;
        call.m_operation = Operation::Read;
        call.m_group = group;
        if (group == BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL) call.m_keys.Add(Int(BMI_HW_BB_LED_ID, 1, true));
        return call;
    }
    static Call Life(Operation operation) {
        Call call;
        call.m_operation = operation;
        return call;
    }
    std::string Told() {
        const std::lock_guard lock(m_guard);
        return m_told;
    }
    std::vector<std::string> News(const std::string& kind) {
        std::vector<std::string> found;
        for (const bmhost::News& news : Host().NewsAfter(0)) {
            if (news.m_kind == kind) found.push_back(news.m_data);
        }
        return found;
    }

    const Asker m_asker{4711, 7, 8, ""};
    TestFolder m_folder;
    const KeptLog m_log;
    FakeAdaptor m_adaptor;
    ResidentSettings m_settings{};
    Latch m_wantsToEnd;
    OrderCarrier m_carry = [](const Order&, Session&, const Picture&) { return Good(); };
    std::mutex m_guard;
    std::string m_told;
    std::vector<UpgradeFacts> m_ended; ///< as the resident host tells
    std::unique_ptr<Resident> m_host;
};

} // namespace bmhost
