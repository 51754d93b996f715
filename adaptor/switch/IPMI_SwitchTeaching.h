// Teaching the switch: the MAC addresses of the DSPs and of both CPUs go into its forwarding table.
#pragma once

#include "adaptor/board/IPMI_MAC.h"
#include "adaptor/dsp/IPMI_DSPInfo.h"

#include <string>

namespace BM_ADAPTOR {

/// The addresses of both CPUs.
struct CPU_MACS {
    MAC_ADDRESS m_CPU1;
    MAC_ADDRESS m_CPU2;
};

/// One teaching, of the DSPs in a table. Any thread; the board driver is waited for.
class SWITCH_TEACHING {
public:
    /// @param a_Table  stays the caller's for as long as the object is used; may be null
    /// @param a_Count  its entries
    SWITCH_TEACHING(const IPMI_DSP_Info_S* a_Table, int a_Count) : m_Table(a_Table), m_Count(a_Count) {}

    /// Teaches the switch each DSP in the order of the table, then both CPUs. The driver's first refusal, logged, ends
    /// it. 1; 0 without DSPs; else STARTUP_DSP_FAILED.
    int Teach() const;
    /// Index of the DSP with the smallest MAC, the first of equal ones; 0 without DSPs. Texts are compared, byte by
    /// byte, not numbers.
    int FindSmallestMac() const;
    /// The two addresses before the smallest of a DSP; zeros when that is no address.
    static CPU_MACS CPUMacsOf(const std::string& a_SmallestMac);

private:
    const IPMI_DSP_Info_S* m_Table;
    int m_Count;
};

} // namespace BM_ADAPTOR
