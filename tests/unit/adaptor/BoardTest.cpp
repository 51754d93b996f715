// What the tests of DSPs, switch ports and the RTM's export need; see the header.
#include "adaptor/BoardTest.h"

#include "common/veldo_common_rows.h"

namespace BM_ADAPTOR::TEST {

LOG_LINE BmiError(const std::string& a_Text) {
    return {BM_LOG_ERROR, "IPMI Adaptor", a_Text};
}

CBMIKeys KeysOf(const std::vector<std::pair<BMIParamId_e, int32_t>>& a_Keys) {
    CBMIKeys l_Keys;
    for (const auto& [l_Id, l_Value] : a_Keys)
        AddKey(l_Keys, l_Id, l_Value);
    return l_Keys;
}

BOARD_TEST::BOARD_TEST() {
    BoardDriver() = {};
    Access::Storage(m_Adaptor) = &m_Storage;
}

BOARD_TEST::~BOARD_TEST() {
    EXPECT_EQ(m_Storage.m_Misuses, 0);
    EXPECT_FALSE(m_Storage.m_IsOpen);
    m_Adaptor.Fin();
}

void BOARD_TEST::GiveEth6(const std::array<unsigned char, 6>& a_Mac) {
    m_Board.m_Interfaces = {{"lo", {"127.0.0.1"}}, {"eth6", {"192.168.0.1", a_Mac}}};
}

void BOARD_TEST::AddAMC(int a_Bay, uint8_t a_NumDSPs) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, a_Bay, a_Bay), "FRU"), AMCRecord(a_NumDSPs, 1));
}

void BOARD_TEST::KnowDSPs(const TEXTS& a_Macs) {
    DSP_MACS l_Known;
    int l_Dsp = 0;
    for (const std::string& l_Mac : a_Macs)
        l_Known[++l_Dsp] = l_Mac;
    Access::KnowDSPs(m_Adaptor, std::move(l_Known));
}

void BOARD_TEST::StoreIP(int a_Dsp, const std::string& a_IP) {
    CBMIParams l_Row = KeyOf(BMI_HW_AMC_DSP_EX_NUM, a_Dsp);
    AddText(l_Row, BMI_HW_AMC_DSP_EX_IP, a_IP);
    m_Storage.m_Files["telq_qub_dsp_iptable_cfg.xml"][a_Dsp] = l_Row;
}

void BOARD_TEST::StorePort(int a_Number, int a_Admin) {
    CBMIParams l_Row = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, a_Number);
    AddInt(l_Row, BMI_HW_AMC_SWITCHPORT_ADMIN, a_Admin);
    m_Storage.m_Files["telq_qub_switchport_cfg.xml"][a_Number] = l_Row;
}

TEXTS BOARD_TEST::Errors() {
    TEXTS l_Texts;
    for (const LOG_LINE& l_Line : Lines()) {
        if (l_Line.m_Level == BM_LOG_ERROR) l_Texts.push_back(l_Line.m_Text);
    }
    return l_Texts;
}

} // namespace BM_ADAPTOR::TEST
