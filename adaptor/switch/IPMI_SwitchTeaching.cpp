// Teaching the switch: the MAC addresses of the DSPs and of both CPUs go into its forwarding table.
#include "adaptor/board/IPMI_MAC.h"
#include "adaptor/dsp/IPMI_DSPs.h"
#include "bm/BoardDriver.h"
#include "common/veldo_common_guard.h"

#include <vector>

namespace BM_ADAPTOR {

namespace {

// Of the switch's ports.
constexpr int CPU1_PORT = 7;
constexpr int CPU2_PORT = 8;

bool TeachDSP(int a_Dsp, const MAC_ADDRESS& a_Mac) {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE calling MavkAmcSwitchMACLearn for DSP %d", a_Dsp);
    int l_Index = 0;
    for (const unsigned char l_Byte : a_Mac.m_Bytes) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE Sending MAC-DSP %d HexVal[%d]=%x", a_Dsp, l_Index++,
               l_Byte);
    }
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE Calling mavkAmcSwitchMACLearnByDSP");
    const int l_Error = mavkAmcSwitchMACLearnByDSP(a_Dsp, a_Mac.m_Bytes.data());
    if (l_Error == 0) return true;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Switch return error =%x while programming Switch with DSP %d MAC",
           static_cast<unsigned>(l_Error), a_Dsp);
    return false;
}

bool TeachCPU1(const MAC_ADDRESS& a_Mac) {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE Sending to Switch CPU1 MAC Addresses");
    int l_Index = 0;
    for (const unsigned char l_Byte : a_Mac.m_Bytes) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE CPU 1 MAC Address Hex val[%d]=%x", l_Index++, l_Byte);
    }
    const int l_Error = mavkAmcSwitchMACLearn(CPU1_PORT, a_Mac.m_Bytes.data());
    if (l_Error == 0) return true;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Switch return error =%x while programming CPU1 MAC",
           static_cast<unsigned>(l_Error));
    return false;
}

bool TeachCPU2(const MAC_ADDRESS& a_Mac) {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE Sending to Switch CPU2 MAC Addresses");
    int l_Index = 0;
    for (const unsigned char l_Byte : a_Mac.m_Bytes) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE CPU2 MAC Address Hex val[%d]=%x", l_Index++, l_Byte);
    }
    const int l_Error = mavkAmcSwitchMACLearn(CPU2_PORT, a_Mac.m_Bytes.data());
    if (l_Error == 0) return true;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Switch return error =%x while programming CPU2 MAC",
           static_cast<unsigned>(l_Error));
    return false;
}

// A text that is no address is taught as zeros.
std::vector<MAC_ADDRESS> MacsOf(const IPMI_DSP_Info_S* a_Table, int a_Count) {
    std::vector<MAC_ADDRESS> l_Macs;
    l_Macs.reserve(static_cast<std::size_t>(a_Count));
    for (int i = 0; i < a_Count; ++i)
        l_Macs.push_back(MAC_ADDRESS::Parse(a_Table[i].m_MAC).value_or(MAC_ADDRESS{}));
    return l_Macs;
}

} // namespace

// By their texts, not by their numbers.
int IPMIAdaptor::mFindSmallestMac(const IPMI_DSP_Info_S* a_Table, int a_Count) {
    int l_Smallest = 0;
    for (int i = 1; a_Table != nullptr && i < a_Count; ++i) {
        if (a_Table[i].m_MAC < a_Table[l_Smallest].m_MAC) l_Smallest = i;
    }
    return l_Smallest;
}

// The two addresses before the first DSP's.
void IPMIAdaptor::CalculateCPUMacAddr(const std::string& a_SmallestMac, MAC_ADDRESS& a_CPU1, MAC_ADDRESS& a_CPU2) {
    const auto l_Smallest = MAC_ADDRESS::Parse(a_SmallestMac);
    a_CPU1 = l_Smallest ? l_Smallest->Plus(0U - 2U) : MAC_ADDRESS{};
    a_CPU2 = l_Smallest ? l_Smallest->Plus(0U - 1U) : MAC_ADDRESS{};
}

int IPMIAdaptor::mTeachSwitch(const IPMI_DSP_Info_S* a_Table, int a_Count) {
    if (a_Table == nullptr || a_Count < 1) return RESULT_NOTHING_DONE;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR,
           "TRACE Teaching the Offload Board Switch about the MACs and the Bees!");
    const std::vector<MAC_ADDRESS> l_Macs = MacsOf(a_Table, a_Count);
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR,
           "TRACE Calculating Both CPU MACs which are based on the smallest DSP MAC Value");
    const std::string& l_Smallest = a_Table[mFindSmallestMac(a_Table, a_Count)].m_MAC;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE Smallest MAC is %s", l_Smallest.c_str());
    MAC_ADDRESS l_CPU1;
    MAC_ADDRESS l_CPU2;
    CalculateCPUMacAddr(l_Smallest, l_CPU1, l_CPU2);

    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE [New LearnBy API ] Teach Switch about DSP MAC Addresses");
    int l_Dsp = 0;
    for (const MAC_ADDRESS& l_Mac : l_Macs) {
        if (!TeachDSP(l_Dsp++, l_Mac)) return STARTUP_DSP_FAILED;
    }
    if (!TeachCPU1(l_CPU1) || !TeachCPU2(l_CPU2)) return STARTUP_DSP_FAILED;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR,
           "TRACE Done Teaching the Offload Board Switch about the MACs and the Bees!");
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
