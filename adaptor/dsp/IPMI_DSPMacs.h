// Parameter group 0x1200: the DSPs' MAC addresses by bay and DSP.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"

#include <cstdint>
#include <string>

namespace BM_ADAPTOR {

class CBMIKeys;
class CBMIParams;
class CBMITable;

/// Which DSPs there are and what their MAC addresses are, found anew at each call. Any thread, several at once; takes
/// the model's lock, shared, for a look at one AMC.
class DSP_MAC_TABLE {
public:
    explicit DSP_MAC_TABLE(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    /// The row of one DSP. 1; 4 when a key is missing or there is no such DSP, 21 when the host interface has no
    /// address, 0 while the adaptor is not started. The row is filled on success only.
    int ReadRow(const CBMIKeys* a_Keys, CBMIParams* a_Row) const;
    /// The first four DSPs of each of the bays 1 to 8, in a table that becomes the caller's. Always 1.
    int ReadTable(CBMITable*& a_Table) const;

    /// The Ethernet address of the host's interface to the DSPs, in small letters. 1; 0, logged, when there is none,
    /// and the text is left as it is.
    int HostMac(std::string& a_Mac) const;
    /// The addresses of `a_Count` DSPs, in capital letters: the base counted on by 2, 3 … in its last four bytes.
    /// @param a_Macs  room for `a_Count` texts
    /// @return false, and nothing is written, when the base is no address
    static bool Calculate(const std::string& a_BaseMac, int a_Count, std::string* a_Macs);

private:
    int mAddRow(int32_t a_Bay, int32_t a_Dsp, int a_Count, CBMIParams& a_Row) const;

    const ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
