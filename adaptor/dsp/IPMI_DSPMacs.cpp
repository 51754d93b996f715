// Parameter groups 0x1200 and 0x30d10: the DSPs' MAC addresses by bay, and MAC and IP addresses by DSP number.
#include "adaptor/dsp/IPMI_DSPs.h"

#include "adaptor/IPMI_Adaptor.h"
#include "adaptor/hardware/IPMI_HardwareFacts.h"
#include "adaptor/hardware/IPMI_Overrides.h"
#include "common/veldo_common_guard.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_trace.h"

#include <array>
#include <vector>

namespace BM_ADAPTOR {

namespace {

void AddDSPRow(CBMIParams& a_Row, int32_t a_Dsp, const std::string& a_Mac, const std::string& a_IP) {
    AddKey(a_Row, BMI_HW_AMC_DSP_EX_INDEX, 0);
    AddKey(a_Row, BMI_HW_AMC_DSP_EX_NUM, a_Dsp);
    AddText(a_Row, BMI_HW_AMC_DSP_EX_MAC, a_Mac);
    AddText(a_Row, BMI_HW_AMC_DSP_EX_IP, a_IP);
}

} // namespace

int IPMIAdaptor::AMC_DSP_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    if (m_State != ADAPTOR_STARTED) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_FRU_ReadParams -- In bad state %i",
               m_State.load());
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
    const auto l_Override = AMCOverride(m_Board);
    if (l_Override && l_Override->m_Bay == *l_Bay && *l_Dsp <= l_Override->m_FieldB) {
        return mAddDSPMac(*l_Bay, *l_Dsp, l_Override->m_FieldB, *a_Row);
    }
    const auto l_Count = mCountDSPs(*l_Bay);
    if (!l_Count || *l_Dsp > *l_Count) return RESULT_NO_ROW;
    const int l_Result = mAddDSPMac(*l_Bay, *l_Dsp, *l_Count, *a_Row);
    if (l_Result == RESULT_OK && TracesOn()) {
        bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_DSP_ReadParams - returning OK");
    }
    return l_Result;
}

// How many DSPs the AMC in the bay has, by its vendor record.
std::optional<int> IPMIAdaptor::mCountDSPs(int32_t a_Bay) const {
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

// Counted on from the host interface's address, for every bay alike: two AMCs with DSPs have the same ones.
int IPMIAdaptor::mAddDSPMac(int32_t a_Bay, int32_t a_Dsp, int a_Count, CBMIParams& a_Row) {
    std::string l_Base;
    if (GetAMCFirstMac(l_Base) != RESULT_OK) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Can not find the ethernet(eth6) MAC of AMC");
        return RESULT_NOT_OBTAINED;
    }
    std::vector<std::string> l_Macs(static_cast<std::size_t>(a_Count));
    if (!CalculateDspMacAddr(l_Base, a_Count, l_Macs.data())) return RESULT_NOT_OBTAINED;
    AddKey(a_Row, BMI_HW_AMC_DSP_BAY, a_Bay);
    AddKey(a_Row, BMI_HW_AMC_DSP_NUM, a_Dsp);
    AddText(a_Row, BMI_HW_AMC_DSP_MAC, l_Macs[static_cast<std::size_t>(a_Dsp) - 1]);
    return RESULT_OK;
}

int IPMIAdaptor::AMC_DSP_ReadTable(CBMITable*& a_Table) {
    a_Table = new CBMITable;
    if (m_State != ADAPTOR_STARTED) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor :: AMC_DSP_ReadTable -- In bad state %i",
               m_State.load());
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
            if (AMC_DSP_ReadParams(&l_Keys, &l_Row) != RESULT_OK) continue;
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

int IPMIAdaptor::AMC_DSP_ReadParamsEx(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    const auto l_Dsp = IntParam(a_Keys, BMI_HW_AMC_DSP_EX_NUM);
    if (!l_Dsp || *l_Dsp == 0 || a_Row == nullptr) return RESULT_NO_ROW;
    const auto l_Macs = m_DspMacMap.Get();
    const auto l_Found = l_Macs->find(*l_Dsp);
    if (l_Found == l_Macs->end()) return RESULT_NO_ROW;
    std::string l_IP;
    if (mGetDspIpAddrDB(*l_Dsp, l_IP) != RESULT_OK) return RESULT_NOT_OBTAINED;
    AddDSPRow(*a_Row, *l_Dsp, l_Found->second, l_IP);
    return RESULT_OK;
}

// The result is the last look-up's: 0 when the last DSP has no address, though the others have their rows.
int IPMIAdaptor::AMC_DSP_ReadTableEx(CBMITable*& a_Table) {
    a_Table = new CBMITable;
    const auto l_Macs = m_DspMacMap.Get();
    int l_Result = RESULT_OK;
    for (int32_t l_Dsp = 1; l_Dsp <= static_cast<int32_t>(l_Macs->size()); ++l_Dsp) {
        const auto l_Found = l_Macs->find(l_Dsp);
        if (l_Found == l_Macs->end()) continue;
        std::string l_IP;
        l_Result = mGetDspIpAddrDB(l_Dsp, l_IP);
        if (l_Result != RESULT_OK) continue;
        CBMIParams l_Row;
        AddDSPRow(l_Row, l_Dsp, l_Found->second, l_IP);
        a_Table->AddRow(l_Row);
    }
    return l_Result;
}

// The address is stored as it came; what start-up makes of one that is no address: mIsOnSameSubnet.
int IPMIAdaptor::AMC_DSP_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values) {
    const auto l_Dsp = IntParam(a_Keys, BMI_HW_AMC_DSP_EX_NUM);
    const auto l_IP = TextParam(a_Values, BMI_HW_AMC_DSP_EX_IP);
    if (!l_Dsp || !l_IP) return RESULT_NO_VALUE;
    if (!m_DspMacMap.Get()->contains(*l_Dsp)) return RESULT_NO_ROW;
    return mSetDspIpAddrDB(*l_Dsp, *l_IP, false);
}

} // namespace BM_ADAPTOR
