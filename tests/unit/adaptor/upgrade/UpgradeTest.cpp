// What the tests of firmware upgrades need; see the header.
#include "adaptor/upgrade/UpgradeTest.h"

namespace BM_ADAPTOR::TEST {

CBMIParams UPGRADE_REQUEST::Row() const {
    CBMIParams l_Row;
    const auto l_Add = [&](BMIParamId_e a_Id, const std::optional<int32_t>& a_Value) {
        if (!a_Value) return;
        CBMIParam l_Param(m_IntegerType, a_Id, false);
        l_Param.SetInt(*a_Value);
        l_Row.Add(l_Param);
    };
    l_Add(BMI_FW_UPDATE_STATE, m_State);
    l_Add(BMI_FW_UPDATE_TARGET, m_Target);
    l_Add(BMI_FW_UPDATE_BAY, m_Bay);
    if (m_File) {
        CBMIParam l_Param(BMI_PARAM_STRING, BMI_FW_UPDATE_FILE, false);
        l_Param.SetString(*m_File);
        l_Row.Add(l_Param);
    }
    return l_Row;
}

UPGRADE_TEST::UPGRADE_TEST() {
    IPMI_TEST_ACCESS::State(m_Adaptor) = ADAPTOR_STARTED;
    IPMI_TEST_ACCESS::Logger(m_Adaptor) = &m_Log;
    IPMI_TEST_ACCESS::Manager(m_Adaptor) = &m_Host;
}

UPGRADE_TEST::~UPGRADE_TEST() {
    if (const auto& l_Thread = IPMI_TEST_ACCESS::UpgradeThread(m_Adaptor)) l_Thread->Join();
}

int UPGRADE_TEST::Write(const UPGRADE_REQUEST& a_Request) {
    CBMIKeys l_Keys;
    CBMIParams l_Row = a_Request.Row();
    return m_Adaptor.Firmware_Update_WriteParams(&l_Keys, &l_Row);
}

void UPGRADE_TEST::Upgrade(const UPGRADE_REQUEST& a_Request) {
    ASSERT_EQ(Write(a_Request), 1);
    WaitForEnd();
}

TEXTS UPGRADE_TEST::Row() {
    CBMIParams l_Row;
    EXPECT_EQ(m_Adaptor.Firmware_Update_ReadParams(nullptr, &l_Row), 1);
    return TextsOf(l_Row);
}

TEXTS UpgradeRow(int a_Target, int a_Bay, int a_State) {
    return {"0x601 u:" + std::to_string(a_Target), "0x606 u:" + std::to_string(a_Bay),
            "0x602 u:" + std::to_string(a_State)};
}

} // namespace BM_ADAPTOR::TEST
