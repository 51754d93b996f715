// `bmhost dsp`: the DSPs of the blade with their addresses, and `dsp set-ip`: one of them given another.
#pragma once

#include <string>
#include <vector>

namespace bmhost {

class Session;

struct DspOrder {
    int m_dsp = 0; ///< counted from 1 across the blade
    std::string m_address;
};

/// From the words `dsp set-ip N ADDRESS`. Throws UsageError saying what was expected.
DspOrder ParseDspOrder(const std::vector<std::string>& words);

/// Between init and fin: appends every DSP that the AMCs have as an aligned table; when one lacks its address, and the
/// storage has told a reason, also a line to `remarks`. True when there is one and each has its addresses.
bool DspTable(Session& session, bool color, std::string& text, std::string& remarks);

/// Between init and fin: appends the DSP as it is read afterwards to `text`, or a line to `remarks` that says why
/// it was refused. True when the address was stored.
bool SetDspAddress(Session& session, const DspOrder& order, bool color, std::string& text, std::string& remarks);

} // namespace bmhost
