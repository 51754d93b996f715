// The three dispatchers when a handler ends by an exception: what the host gets, and that none reaches it.
#include "adaptor/AdaptorTest.h"

#include "common/veldo_common_rows.h"
#include "fake/FakeBoardDriver.h"
#include "fake/ThrowingLog.h"
#include "fake/process/FakeAllocation.h"

#include <new>
#include <optional>
#include <utility>
#include <vector>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;

namespace {

class Barrier : public ADAPTOR_TEST {
protected:
    CBMIKeys m_NoKeys;
};

TEST_F(Barrier, HostsLoggerThatThrowsChangesNoResult) {
    static THROWING_LOG l_Log; // outlives the adaptor, as a host's logger does
    for (const unsigned l_Group : {0x100U, 0x200U, 0x300U, 0x400U, 0x30000U, 0x30100U, 0x30200U, 0x30300U}) {
        std::vector<std::vector<int>> l_Results; // with the logger, and without one
        for (CBaseOsLog* const l_Logger : std::initializer_list<CBaseOsLog*>{&l_Log, nullptr}) {
            IPMI_TEST_ACCESS::Logger(m_Adaptor) = l_Logger;
            CBMIParams* l_Row = nullptr;
            CBMITable* l_Table = nullptr;
            std::vector<int> l_Codes;
            EXPECT_NO_THROW(l_Codes.push_back(m_Adaptor.ReadParams(l_Group, &m_NoKeys, l_Row))) << l_Group;
            EXPECT_NO_THROW(l_Codes.push_back(m_Adaptor.GetParamTable(l_Group, l_Table))) << l_Group;
            EXPECT_NO_THROW(l_Codes.push_back(m_Adaptor.WriteParams(l_Group, &m_NoKeys, &m_Row))) << l_Group;
            delete l_Row;
            delete l_Table;
            l_Results.push_back(l_Codes);
        }
        EXPECT_EQ(l_Results[0], l_Results[1]) << l_Group;
    }
}

struct FAILED_GROUP {
    unsigned m_Group;
    int m_Failure;
};

constexpr FAILED_GROUP FAILED_GROUPS[] = {{0x100, 12},  {0x200, 12},   {0x300, 12},   {0x400, 12},   {0x600, 0},
                                          {0x1200, 4},  {0x30000, 12}, {0x30100, 12}, {0x30200, 12}, {0x30300, 12},
                                          {0x30d10, 4}, {0x30e00, 4},  {0x30d00, 0},  {0x30e10, 0},  {0x500, 0}};

TEST_F(Barrier, ReadThatEndsByAnExceptionGivesItsTablesFailure) {
    BM_LOG_LEVEL = 0;
    for (const auto& [l_Group, l_Failure] : FAILED_GROUPS) {
        CBMIParams* l_Row = nullptr;
        FailNextAllocation();
        EXPECT_EQ(m_Adaptor.ReadParams(l_Group, &m_NoKeys, l_Row), l_Failure) << std::hex << l_Group;
        EXPECT_FALSE(CallOffFailedAllocation());
        EXPECT_EQ(l_Row, nullptr);
        EXPECT_EQ(Lines().size(), 1U) << std::hex << l_Group;
    }
}

TEST_F(Barrier, TableThatEndsByAnExceptionGivesItsFailure) {
    BM_LOG_LEVEL = 0;
    for (const auto& [l_Group, l_Failure] : FAILED_GROUPS) {
        CBMITable* l_Table = nullptr;
        FailNextAllocation();
        EXPECT_EQ(m_Adaptor.GetParamTable(l_Group, l_Table), l_Failure) << std::hex << l_Group;
        const bool l_bServed = !CallOffFailedAllocation(); // a table that is not served allocates nothing
        EXPECT_EQ(Lines().size(), l_bServed ? 1U : 0U) << std::hex << l_Group;
        EXPECT_EQ(l_Table, nullptr);
    }
}

/// A write that reaches an allocation.
struct ALLOCATING_WRITE {
    unsigned m_Group;
    int m_Failure;
    std::vector<std::pair<BMIParamId_e, int32_t>> m_Keys;
    std::vector<std::pair<BMIParamId_e, int32_t>> m_Values;
    std::optional<BMIParamId_e> m_Text = std::nullopt; ///< a text that has no place in the string's own object
};

// Without the board's table: a reset allocates nothing.
TEST_F(Barrier, WriteThatEndsByAnExceptionGivesItsTablesFailure) {
    BM_LOG_LEVEL = 0;
    for (IPMI_ENTITY* const l_Entity : {&AddEntity(ENTITY_ID_BASEBOARD, 0), &AddEntity(ENTITY_ID_AMC, 3)})
        l_Entity->m_ControlMap["light"] = new IPMI_CONTROL;
    IPMI_TEST_ACCESS::KnowDSPs(m_Adaptor, {{1, "02:00:00:00:00:12"}});
    BoardDriver() = {};
    ASSERT_EQ(IPMI_TEST_ACCESS::mInitSwitchInfo(m_Adaptor), 1);
    const ALLOCATING_WRITE l_Writes[] = {
        {0x100, 12, {{BMI_HW_BB_LED_ID, 2}}, {}},
        {0x200, 12, {{BMI_HW_AMC_LED_ID, 2}, {BMI_HW_AMC_LED_BAY, 3}}, {}},
        {0x30100, 12, {{BMI_HW_BB_LED_ID, 2}}, {}},
        {0x30300, 12, {{BMI_HW_AMC_LED_ID, 2}, {BMI_HW_AMC_LED_BAY, 3}}, {}},
        {0x600,
         0,
         {},
         {{BMI_FW_UPDATE_STATE, 0}, {BMI_FW_UPDATE_TARGET, 1}, {BMI_FW_UPDATE_BAY, 3}},
         BMI_FW_UPDATE_FILE},
        {0x30200, 12, {{BMI_HW_AMC_BAY, 3}}, {{BMI_HW_AMC_RUN_STATUS, 5}}},
        {0x30d10, 4, {{BMI_HW_AMC_DSP_EX_NUM, 1}}, {}, BMI_HW_AMC_DSP_EX_IP},
        {0x30e00, 4, {{BMI_HW_AMC_SWITCHPORT_NUM, 1}}, {{BMI_HW_AMC_SWITCHPORT_ADMIN, 1}}},
    };
    for (const ALLOCATING_WRITE& l_Write : l_Writes) {
        CBMIKeys l_Keys;
        for (const auto& [l_Id, l_Value] : l_Write.m_Keys)
            AddKey(l_Keys, l_Id, l_Value);
        CBMIParams l_Values;
        for (const auto& [l_Id, l_Value] : l_Write.m_Values)
            AddInt(l_Values, l_Id, l_Value);
        if (l_Write.m_Text) AddText(l_Values, *l_Write.m_Text, "a text of more than sixteen characters");
        Lines();
        FailNextAllocation();
        EXPECT_EQ(m_Adaptor.WriteParams(l_Write.m_Group, &l_Keys, &l_Values), l_Write.m_Failure)
            << std::hex << l_Write.m_Group;
        EXPECT_FALSE(CallOffFailedAllocation()) << std::hex << l_Write.m_Group;
        EXPECT_EQ(Lines().size(), 1U) << std::hex << l_Write.m_Group;
    }
    EXPECT_EQ(m_Adaptor.Fin(), 1);
}

TEST_F(Barrier, WriteOfAGroupThatIsOnlyReadDoesNothing) {
    BM_LOG_LEVEL = 0;
    for (const unsigned l_Group : {0x300U, 0x400U, 0x1200U, 0x30d00U, 0x30e10U, 0x500U}) {
        FailNextAllocation();
        EXPECT_EQ(m_Adaptor.WriteParams(l_Group, &m_NoKeys, &m_Row), 0) << std::hex << l_Group;
        EXPECT_TRUE(CallOffFailedAllocation()) << std::hex << l_Group;
    }
}

class THROWING_MANAGER final : public FAKE_MANAGER {
public:
    int SendEvent(unsigned, unsigned, CBMIEvParams*) override { throw std::bad_alloc(); }
};

TEST_F(Barrier, NoExceptionOfTheHostsManagerCrossesBackToTheHost) {
    THROWING_MANAGER l_Manager;
    IPMI_TEST_ACCESS::Manager(m_Adaptor) = &l_Manager;
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
    CBMIParams l_Values = KeyOf(BMI_HW_AMC_RUN_STATUS, 5);
    EXPECT_NO_THROW(EXPECT_EQ(m_Adaptor.WriteParams(0x30200, &l_Keys, &l_Values), 12));
}

} // namespace
