// Parameter group 0x1200: the DSPs' MAC addresses by bay and DSP, counted on from the host interface's.
#include "adaptor/dsp/IPMI_DSPMacs.h"

#include "adaptor/board/IPMI_Board.h"
#include "adaptor/hardware/IPMI_HardwareFacts.h"
#include "adaptor/hardware/IPMI_Overrides.h"
#include "bm/Log.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

#include <optional>
#include <vector>

namespace BM_ADAPTOR {

namespace {

constexpr int32_t DSPS_PER_AMC = 4;

// How many DSPs the AMC in the bay has, by its vendor record.
std::optional<int> CountDSPs(int32_t a_Bay) {
    const auto l_AMC = FindHardware(ENTITY_ID_AMC, a_Bay);
    if (!l_AMC) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_DSP_ReadParams - FRU not found");
        return std::nullopt;
    }
    if (!l_AMC->m_FRU) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR,
               "IPMIAdaptor :: AMC_DSP_ReadParams - FRU data missing - internal error ");
        return std::nullopt;
    }
    const auto& l_Record = l_AMC->m_FRU->m_AMC;
    if (!l_Record) return std::nullopt;
    if (TracesOn()) {
        bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_DSP_ReadParams - AMC Multirecord found");
        if (const auto& l_First = l_Record->m_FirstDSP) { // the record's own address, which is not used
            const auto& l_Mac = l_First->m_Mac;
            bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "%2.2x:%2.2x:%2.2x:%2.2x:%2.2x:%2.2x", l_Mac[0], l_Mac[1],
                   l_Mac[2], l_Mac[3], l_Mac[4], l_Mac[5]);
        }
    }
    return l_Record->m_NumDSPs;
}

} // namespace

int DSP_MAC_TABLE::ReadRow(const CBMIKeys* a_Keys, CBMIParams* a_Row) const {
    if (!m_Frame.IsStarted()) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_FRU_ReadParams -- In bad state %i",
               m_Frame.m_State.load());
        return RESULT_NOTHING_DONE;
    }
    const auto l_Bay = IntParam(a_Keys, BMI_HW_AMC_DSP_BAY);
    if (!l_Bay) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_DSP_ReadParams - No Bay Location passed in");
        return RESULT_NO_ROW;
    }
    const auto l_Dsp = IntParam(a_Keys, BMI_HW_AMC_DSP_NUM);
    if (!l_Dsp) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_DSP_ReadParams - No DSPNum passed in");
        return RESULT_NO_ROW;
    }
    if (TracesOn()) {
        bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR,
               "IPMIAdaptor :: AMC_DSP_ReadParams - Searching BayLocation=%i DSPNum=%i", *l_Bay, *l_Dsp);
    }
    if (a_Row == nullptr || *l_Dsp < 1) return RESULT_NO_ROW;

    // Another bay than the override's, or a DSP that it does not have, is looked for in the hardware.
    const auto l_Override = AMCOverride(m_Frame.m_Board);
    if (l_Override && l_Override->m_Bay == *l_Bay && *l_Dsp <= l_Override->m_FieldB) {
        return mAddRow(*l_Bay, *l_Dsp, l_Override->m_FieldB, *a_Row);
    }
    const auto l_Count = CountDSPs(*l_Bay);
    if (!l_Count || *l_Dsp > *l_Count) return RESULT_NO_ROW;
    const int l_Result = mAddRow(*l_Bay, *l_Dsp, *l_Count, *a_Row);
    if (l_Result == RESULT_OK && TracesOn()) {
        bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_DSP_ReadParams - returning OK");
    }
    return l_Result;
}

// Counted on from the host interface's address, for every bay alike: two AMCs with DSPs have the same ones.
int DSP_MAC_TABLE::mAddRow(int32_t a_Bay, int32_t a_Dsp, int a_Count, CBMIParams& a_Row) const {
    std::string l_Base;
    if (HostMac(l_Base) != RESULT_OK) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Can not find the ethernet(eth6) MAC of AMC");
        return RESULT_NOT_OBTAINED;
    }
    std::vector<std::string> l_Macs(static_cast<std::size_t>(a_Count));
    if (!Calculate(l_Base, a_Count, l_Macs.data())) return RESULT_NOT_OBTAINED;
    AddKey(a_Row, BMI_HW_AMC_DSP_BAY, a_Bay);
    AddKey(a_Row, BMI_HW_AMC_DSP_NUM, a_Dsp);
    AddText(a_Row, BMI_HW_AMC_DSP_MAC, l_Macs[static_cast<std::size_t>(a_Dsp) - 1]);
    return RESULT_OK;
}

int DSP_MAC_TABLE::ReadTable(CBMITable*& a_Table) const {
    a_Table = new CBMITable;
    if (!m_Frame.IsStarted()) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_DSP_ReadTable -- In bad state %i",
               m_Frame.m_State.load());
    }
    for (int32_t l_Bay = AMC_BAY_FIRST; l_Bay <= AMC_BAY_LAST; ++l_Bay) {
        if (TracesOn()) {
            bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR,
                   "IPMIAdaptor :: AMC_DSP_ReadTable -- looking for AMC in Bay  %i", l_Bay);
        }
        for (int32_t l_Dsp = 1; l_Dsp <= DSPS_PER_AMC; ++l_Dsp) {
            CBMIKeys l_Keys;
            AddKey(l_Keys, BMI_HW_AMC_DSP_BAY, l_Bay);
            AddKey(l_Keys, BMI_HW_AMC_DSP_NUM, l_Dsp);
            CBMIParams l_Row;
            if (ReadRow(&l_Keys, &l_Row) != RESULT_OK) continue;
            if (TracesOn()) {
                bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_DSP_ReadTable -- Found AMC in Bay  %i",
                       l_Bay);
            }
            a_Table->AddRow(l_Row);
        }
    }
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_DSP_ReadTable -- Returning %i found ",
           a_Table->GetSize()); // at level 3
    return RESULT_OK;
}

int DSP_MAC_TABLE::HostMac(std::string& a_Mac) const {
    const auto l_Address = m_Frame.m_Board.HardwareAddressOf(HOST_INTERFACE);
    if (!l_Address) {
        LogError(m_Frame.m_Logger, "Fail to Get MAC of eth6");
        return RESULT_NOTHING_DONE;
    }
    const auto& l_Bytes = l_Address->m_Bytes;
    a_Mac = FormatText("%02x:%02x:%02x:%02x:%02x:%02x", l_Bytes[0], l_Bytes[1], l_Bytes[2], l_Bytes[3], l_Bytes[4],
                       l_Bytes[5]);
    return RESULT_OK;
}

// The base and the address after it are the CPUs'.
bool DSP_MAC_TABLE::Calculate(const std::string& a_BaseMac, int a_Count, std::string* a_Macs) {
    const auto l_Base = MAC_ADDRESS::Parse(a_BaseMac);
    if (!l_Base) return false;
    for (int i = 0; i < a_Count; ++i)
        a_Macs[i] = l_Base->Plus(static_cast<uint32_t>(i) + 2).Text();
    return true;
}

} // namespace BM_ADAPTOR
