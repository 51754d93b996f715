// `bmhost dsp`: the DSPs of the blade with their addresses, and `dsp set-ip`: one of them given another.
#pragma once

#include <string>
#include <vector>

namespace BMHOST {

class SESSION;

struct DSP_ORDER {
    int m_Dsp = 0; ///< counted from 1 across the blade
    std::string m_Address;
};

/// From the words `dsp set-ip N ADDRESS`. Throws USAGE_ERROR saying what was expected.
DSP_ORDER ParseDspOrder(const std::vector<std::string>& a_Words);

/// Between init and fin: appends every DSP that the AMCs have as an aligned table; when one lacks its address, and the
/// storage has told a reason, also a line to `a_Remarks`. True when there is one and each has its addresses.
bool DspTable(SESSION& a_Session, bool a_Color, std::string& a_Text, std::string& a_Remarks);

/// Between init and fin: appends the DSP as it is read afterwards to `a_Text`, or a line to `a_Remarks` that says why
/// it was refused. True when the address was stored.
bool SetDspAddress(SESSION& a_Session, const DSP_ORDER& a_Order, bool a_Color, std::string& a_Text,
                   std::string& a_Remarks);

} // namespace BMHOST
