// Teaching the switch: what the board driver is told of each DSP and of both CPUs, and what is logged of it.
#include "adaptor/switch/IPMI_SwitchTeaching.h"

#include "bm/BoardDriver.h"
#include "bm/Log.h"
#include "common/veldo_common_protocol.h"

#include <cstddef>
#include <vector>

namespace BM_ADAPTOR {

namespace {

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

// One CPU, as the switch and the log know it. The lines are functions so that the compiler checks their formats.
struct CPU_PORT {
    int m_Port; ///< of the switch
    MAC_ADDRESS CPU_MACS::*m_Mac;
    void (*m_LogBegin)();
    void (*m_LogByte)(int a_Index, unsigned a_Byte);
    void (*m_LogError)(unsigned a_Error);
};

// "CPU 1" but "CPU2" in the lines of the bytes: log readers search for them so.
constexpr CPU_PORT CPU_PORTS[] = {
    {7, &CPU_MACS::m_CPU1,
     [] { bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE Sending to Switch CPU1 MAC Addresses"); },
     [](int a_Index, unsigned a_Byte) {
         bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE CPU 1 MAC Address Hex val[%d]=%x", a_Index, a_Byte);
     },
     [](unsigned a_Error) {
         bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Switch return error =%x while programming CPU1 MAC", a_Error);
     }},
    {8, &CPU_MACS::m_CPU2,
     [] { bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE Sending to Switch CPU2 MAC Addresses"); },
     [](int a_Index, unsigned a_Byte) {
         bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE CPU2 MAC Address Hex val[%d]=%x", a_Index, a_Byte);
     },
     [](unsigned a_Error) {
         bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Switch return error =%x while programming CPU2 MAC", a_Error);
     }},
};

bool TeachCPU(const CPU_PORT& a_CPU, const MAC_ADDRESS& a_Mac) {
    a_CPU.m_LogBegin();
    int l_Index = 0;
    for (const unsigned char l_Byte : a_Mac.m_Bytes)
        a_CPU.m_LogByte(l_Index++, l_Byte);
    const int l_Error = mavkAmcSwitchMACLearn(a_CPU.m_Port, a_Mac.m_Bytes.data());
    if (l_Error == 0) return true;
    a_CPU.m_LogError(static_cast<unsigned>(l_Error));
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

int SWITCH_TEACHING::Teach() const {
    if (m_Table == nullptr || m_Count < 1) return RESULT_NOTHING_DONE;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR,
           "TRACE Teaching the Offload Board Switch about the MACs and the Bees!");
    const std::vector<MAC_ADDRESS> l_Macs = MacsOf(m_Table, m_Count);
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR,
           "TRACE Calculating Both CPU MACs which are based on the smallest DSP MAC Value");
    const std::string& l_Smallest = m_Table[FindSmallestMac()].m_MAC;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE Smallest MAC is %s", l_Smallest.c_str());
    const CPU_MACS l_CPUs = CPUMacsOf(l_Smallest);

    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "TRACE [New LearnBy API ] Teach Switch about DSP MAC Addresses");
    int l_Dsp = 0;
    for (const MAC_ADDRESS& l_Mac : l_Macs) {
        if (!TeachDSP(l_Dsp++, l_Mac)) return STARTUP_DSP_FAILED;
    }
    for (const CPU_PORT& l_CPU : CPU_PORTS) {
        if (!TeachCPU(l_CPU, l_CPUs.*l_CPU.m_Mac)) return STARTUP_DSP_FAILED;
    }
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR,
           "TRACE Done Teaching the Offload Board Switch about the MACs and the Bees!");
    return RESULT_OK;
}

int SWITCH_TEACHING::FindSmallestMac() const {
    int l_Smallest = 0;
    for (int i = 1; m_Table != nullptr && i < m_Count; ++i) {
        if (m_Table[i].m_MAC < m_Table[l_Smallest].m_MAC) l_Smallest = i;
    }
    return l_Smallest;
}

CPU_MACS SWITCH_TEACHING::CPUMacsOf(const std::string& a_SmallestMac) {
    const auto l_Smallest = MAC_ADDRESS::Parse(a_SmallestMac);
    return l_Smallest ? CPU_MACS{l_Smallest->Plus(0U - 2U), l_Smallest->Plus(0U - 1U)} : CPU_MACS{};
}

} // namespace BM_ADAPTOR
