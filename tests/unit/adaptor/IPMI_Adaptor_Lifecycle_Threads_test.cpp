// Init, Start, Stop, Fin, reads, writes and upgrades from eight host threads at once.
// LIFECYCLE_TEST_SECONDS lets them go on for so long; without it each goes round a number of times.
#include "adaptor/LifecycleTest.h"

#include "adaptor/upgrade/UpgradeTest.h"
#include "common/veldo_common_rows.h"
#include "fake/FakeQueue.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::AnyOf;

namespace {

constexpr int ROUNDS = 60;

/// One transaction at a time; another thread waits for its turn.
class SHARED_STORAGE final : public FAKE_STORAGE {
public:
    int StartTransaction() override {
        m_Turn.lock();
        return FAKE_STORAGE::StartTransaction();
    }
    int EndTransaction() override {
        const int l_Result = FAKE_STORAGE::EndTransaction();
        m_Turn.unlock();
        return l_Result;
    }

private:
    std::mutex m_Turn;
};

class AdaptorThreads : public LIFECYCLE_TEST {
protected:
    AdaptorThreads() {
        FakeQueue().Reset();
        FakeQueue().m_Answers[Q_MSG_BOARD_STATUS] = qMsg{Q_MSG_BOARD_STATUS_REPLY, Q_ADDRESS_VXP, Q_ADDRESS_MONITOR}
                                                        .Number(Q_FIELD_BOARD_STATE, 1)
                                                        .Number(Q_FIELD_BOARD_SUB_STATE, 4);
        WithoutOpenIPMI();
        GiveDSPs();
        BM_LOG_LEVEL = 0;
        m_Host.m_Mode = 1;
        m_Host.m_Storage = &m_Shared;
        m_Adaptor.Init(&m_Host);
    }
    ~AdaptorThreads() override {
        m_Adaptor.Stop(nullptr);
        m_Adaptor.Fin();
        if (const auto& l_Thread = IPMI_TEST_ACCESS::UpgradeThread(m_Adaptor)) l_Thread->Join();
        EXPECT_EQ(FakeQueue().m_Descriptor, -1) << "a monitor is left";
        EXPECT_EQ(m_Shared.m_Misuses, 0);
        FakeQueue().Reset();
    }

    void ReadRows() {
        CBMIKeys l_Keys;
        for (const BMIParamId_e l_Key :
             {BMI_HW_BB_LED_ID, BMI_HW_AMC_LED_ID, BMI_HW_AMC_LED_BAY, BMI_HW_AMC_FRU_BAY, BMI_HW_AMC_DSP_BAY,
              BMI_HW_AMC_DSP_NUM, BMI_HW_BB_LED_TYPE, BMI_HW_AMC_BAY, BMI_HW_AMC_LED_TABLE_BAY, BMI_HW_AMC_LED_TYPE,
              BMI_HW_AMC_DSP_EX_NUM, BMI_HW_AMC_SWITCHPORT_NUM})
            AddKey(l_Keys, l_Key, 1);
        for (const GROUP_NAME& l_Group : g_GroupNames) {
            CBMIParams* l_Row = nullptr;
            EXPECT_THAT(m_Adaptor.ReadParams(l_Group.m_Group, &l_Keys, l_Row), AnyOf(0, 1, 4, 12, 21));
            delete l_Row;
        }
    }

    void ReadTables() {
        for (const GROUP_NAME& l_Group : g_GroupNames) {
            CBMITable* l_Table = nullptr;
            EXPECT_THAT(m_Adaptor.GetParamTable(l_Group.m_Group, l_Table), AnyOf(0, 1, 12));
            delete l_Table;
        }
    }

    int Write(BMIGroup_e a_Group, BMIParamId_e a_Key, CBMIParams a_Values) {
        CBMIKeys l_Keys;
        AddKey(l_Keys, a_Key, 1);
        return m_Adaptor.WriteParams(a_Group, &l_Keys, &a_Values);
    }

    void WriteAll() {
        CBMIParams l_Values;
        AddInt(l_Values, BMI_HW_AMC_RUN_STATUS, 4);
        AddText(l_Values, BMI_HW_AMC_DSP_EX_IP, "192.168.0.9");
        AddInt(l_Values, BMI_HW_AMC_SWITCHPORT_ADMIN, 1);
        EXPECT_EQ(Write(BMI_GROUP_HARDWARE_AMC_TABLE, BMI_HW_AMC_BAY, l_Values), 1);
        EXPECT_THAT(Write(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, BMI_HW_AMC_DSP_EX_NUM, l_Values), AnyOf(1, 4));
        EXPECT_THAT(Write(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, BMI_HW_AMC_SWITCHPORT_NUM, l_Values), AnyOf(1, 4));
    }

    void Upgrade() {
        CBMIParams l_Row = UPGRADE_REQUEST().Row();
        EXPECT_THAT(m_Adaptor.WriteParams(BMI_GROUP_FIRMWARE_UPDATE, nullptr, &l_Row), AnyOf(0, 1));
    }

    SHARED_STORAGE m_Shared;
};

TEST_F(AdaptorThreads, DoWithoutEachOther) {
    const char* const l_Seconds = getenv("LIFECYCLE_TEST_SECONDS");
    const auto l_End =
        std::chrono::steady_clock::now() + std::chrono::seconds(l_Seconds != nullptr ? atoi(l_Seconds) : 0);
    const auto l_GoesOn = [&](int a_Round) {
        return l_Seconds != nullptr ? std::chrono::steady_clock::now() < l_End : a_Round < ROUNDS;
    };
    const std::function<void()> l_Works[] = {
        [this] { EXPECT_EQ(m_Adaptor.Init(&m_Host), 0); }, // the inventory is simulated
        [this] { m_Adaptor.Start(nullptr); },              // 0 while an Init has not found the DSPs yet
        [this] { EXPECT_EQ(m_Adaptor.Stop(nullptr), 1); },
        [this] { EXPECT_EQ(m_Adaptor.Fin(), 1); },
        [this] { ReadRows(); },
        [this] { ReadTables(); },
        [this] { WriteAll(); },
        [this] { Upgrade(); },
    };
    std::vector<std::thread> l_Hosts;
    for (const auto& l_Work : l_Works) {
        l_Hosts.emplace_back([&] {
            for (int l_Round = 0; l_GoesOn(l_Round); ++l_Round)
                l_Work();
        });
    }
    for (std::thread& l_Host : l_Hosts)
        l_Host.join();

    m_Adaptor.Init(&m_Host);
    EXPECT_EQ(m_Adaptor.Start(nullptr), 1);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
}

} // namespace
