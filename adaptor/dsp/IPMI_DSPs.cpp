// The DSPs' addresses: how Init finds them, parameter group 0x30d10, and what start-up asks of them.
#include "adaptor/dsp/IPMI_DSPs.h"

#include "adaptor/board/IPMI_Board.h"
#include "adaptor/dsp/IPMI_DSPMacs.h"
#include "adaptor/dsp/IPMI_DSPStore.h"
#include "bm/Log.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_rows.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include <arpa/inet.h>

namespace BM_ADAPTOR {

namespace {

// inet_addr() takes more than an address: it ignores what follows a blank. Such a text must not pass for an address,
// because it would go on to a shell.
bool IsDotted(const std::string& a_Text) {
    return a_Text.find_first_not_of("0123456789abcdefABCDEFxX.") == std::string::npos;
}

void AddDSPRow(CBMIParams& a_Row, int32_t a_Dsp, const std::string& a_Mac, const std::string& a_IP) {
    AddKey(a_Row, BMI_HW_AMC_DSP_EX_INDEX, 0);
    AddKey(a_Row, BMI_HW_AMC_DSP_EX_NUM, a_Dsp);
    AddText(a_Row, BMI_HW_AMC_DSP_EX_MAC, a_Mac);
    AddText(a_Row, BMI_HW_AMC_DSP_EX_IP, a_IP);
}

} // namespace

int DSP_ADDRESSES::ReadRow(const CBMIKeys* a_Keys, CBMIParams* a_Row) const {
    const auto l_Dsp = IntParam(a_Keys, BMI_HW_AMC_DSP_EX_NUM);
    if (!l_Dsp || *l_Dsp == 0 || a_Row == nullptr) return RESULT_NO_ROW;
    const auto l_Macs = m_Macs.Get();
    const auto l_Found = l_Macs->find(*l_Dsp);
    if (l_Found == l_Macs->end()) return RESULT_NO_ROW;
    std::string l_IP;
    if (DSP_IP_STORE(m_Frame.m_Storage).Get(*l_Dsp, l_IP) != RESULT_OK) return RESULT_NOT_OBTAINED;
    AddDSPRow(*a_Row, *l_Dsp, l_Found->second, l_IP);
    return RESULT_OK;
}

int DSP_ADDRESSES::ReadTable(CBMITable*& a_Table) const {
    a_Table = new CBMITable;
    const auto l_Macs = m_Macs.Get();
    int l_Result = RESULT_OK;
    for (int32_t l_Dsp = 1; l_Dsp <= static_cast<int32_t>(l_Macs->size()); ++l_Dsp) {
        const auto l_Found = l_Macs->find(l_Dsp);
        if (l_Found == l_Macs->end()) continue;
        std::string l_IP;
        l_Result = DSP_IP_STORE(m_Frame.m_Storage).Get(l_Dsp, l_IP);
        if (l_Result != RESULT_OK) continue;
        CBMIParams l_Row;
        AddDSPRow(l_Row, l_Dsp, l_Found->second, l_IP);
        a_Table->AddRow(l_Row);
    }
    return l_Result;
}

// What start-up makes of a text that is no address: IsOnSameSubnet.
int DSP_ADDRESSES::Write(const CBMIKeys* a_Keys, const CBMIParams* a_Values) const {
    const auto l_Dsp = IntParam(a_Keys, BMI_HW_AMC_DSP_EX_NUM);
    const auto l_IP = TextParam(a_Values, BMI_HW_AMC_DSP_EX_IP);
    if (!l_Dsp || !l_IP) return RESULT_NO_VALUE;
    if (!m_Macs.Get()->contains(*l_Dsp)) return RESULT_NO_ROW;
    return DSP_IP_STORE(m_Frame.m_Storage).Set(*l_Dsp, *l_IP, false);
}

int DSP_ADDRESSES::Init(const std::function<void(int)>& a_OnCount) const {
    CBMITable* l_Made = nullptr;
    const int l_Result = DSP_MAC_TABLE(m_Frame).ReadTable(l_Made);
    const std::unique_ptr<CBMITable> l_Table(l_Made);
    if (l_Result == RESULT_OK && l_Table->GetSize() > 0) {
        a_OnCount(l_Table->GetSize());
        mKeepDSPMacs(*l_Table);
    } else {
        m_Macs.Clear();
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Can not get DSP Info table");
    }
    return DSP_IP_STORE(m_Frame.m_Storage).Seed();
}

void DSP_ADDRESSES::mKeepDSPMacs(const CBMITable& a_Table) const {
    m_Macs.Replace(MacsIn(RowsOf(a_Table)));
}

DSP_MACS DSP_ADDRESSES::MacsIn(std::span<const CBMIParams* const> a_Rows) {
    DSP_MACS l_Macs;
    int l_Dsp = 0;
    for (const CBMIParams* const l_Row : a_Rows) {
        ++l_Dsp;
        if (l_Row == nullptr) {
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Can not get MAC Address of dsp[%d]", l_Dsp);
            break;
        }
        if (auto l_Mac = TextParam(l_Row, BMI_HW_AMC_DSP_MAC)) l_Macs[l_Dsp] = std::move(*l_Mac);
    }
    return l_Macs;
}

int DSP_ADDRESSES::Fill(int a_Index, int a_Dsp, IPMI_DSP_Info_S* a_Table) const {
    const auto l_Macs = m_Macs.Get();
    const auto l_Found = l_Macs->find(a_Dsp);
    if (l_Found == l_Macs->end()) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Fail to get MAC Address of DSP[%d]", a_Dsp);
        return RESULT_NOTHING_DONE;
    }
    const bool l_IsInTable = a_Table != nullptr && a_Index >= 0 && a_Index < static_cast<int>(l_Macs->size());
    if (!l_IsInTable) return RESULT_NOTHING_DONE;
    a_Table[a_Index].m_MAC = l_Found->second;
    return DSP_IP_STORE(m_Frame.m_Storage).Get(a_Dsp, a_Table[a_Index].m_IP);
}

int DSP_ADDRESSES::HostIP(const std::string& a_Interface, std::string& a_IP) const {
    auto l_Address = m_Frame.m_Board.IPv4AddressOf(a_Interface);
    if (!l_Address) return RESULT_NOTHING_DONE;
    a_IP = std::move(*l_Address);
    return RESULT_OK;
}

bool DSP_ADDRESSES::IsOnSameSubnet(const std::string& a_First, const std::string& a_Second, const std::string& a_Mask) {
    if (!IsDotted(a_First) || !IsDotted(a_Second)) return false;
    const in_addr_t l_First = inet_addr(a_First.c_str());
    const in_addr_t l_Second = inet_addr(a_Second.c_str());
    const in_addr_t l_Mask = inet_addr(a_Mask.c_str());
    return l_First != INADDR_NONE && l_Second != INADDR_NONE && (l_First & l_Mask) == (l_Second & l_Mask);
}

} // namespace BM_ADAPTOR
