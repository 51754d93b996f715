// The addresses of all DSPs of the blade: found at Init, served as parameter group 0x30d10, handed to start-up.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "adaptor/dsp/IPMI_DSPInfo.h"
#include "common/veldo_common_snapshot.h"

#include <functional>
#include <span>
#include <string>

namespace BM_ADAPTOR {

class CBMIKeys;
class CBMIParams;
class CBMITable;

/// Works on the MAC addresses that the last Init found and on the IP addresses in the host's storage. Any thread,
/// several at once; no lock is held while storage or board are asked.
class DSP_ADDRESSES {
public:
    DSP_ADDRESSES(const ADAPTOR_FRAME& a_Frame, SNAPSHOT<DSP_MACS>& a_Macs) : m_Frame(a_Frame), m_Macs(a_Macs) {}

    // ---- group 0x30d10; the storage is waited for

    /// The row of one DSP. 1; 4 when the key is missing, 0 or no DSP's; 21 when the DSP has no IP address.
    int ReadRow(const CBMIKeys* a_Keys, CBMIParams* a_Row) const;
    /// All DSPs that have both addresses, in a table that becomes the caller's.
    /// @return the result of the last look-up: 0 when the last DSP has no IP address, though the others have their rows
    int ReadTable(CBMITable*& a_Table) const;
    /// Stores a DSP's IP address as it comes. 23 when key or value is missing, 4 for a DSP without a MAC address; else
    /// the storage's result.
    int Write(const CBMIKeys* a_Keys, const CBMIParams* a_Values) const;

    // ---- Init

    /// Finds the DSPs' MAC addresses, which take the place of those known before, and stores the default IP addresses
    /// when there are none.
    /// @param a_OnCount  told how many DSPs were found, if any, before their addresses are known
    /// @return the result of storing the defaults
    int Init(const std::function<void(int a_Count)>& a_OnCount) const;
    /// The MAC addresses in rows of group 0x1200. DSPs are numbered by their rows; a row without an address keeps its
    /// number. A null row, logged, ends the walk.
    static DSP_MACS MacsIn(std::span<const CBMIParams* const> a_Rows);

    // ---- start-up

    /// Fills entry `a_Index`, from 0, of a table with as many entries as DSPs are known.
    /// @return 1; 0, logged, without a MAC or an IP address. Without the latter the MAC address is filled in.
    int Fill(int a_Index, int a_Dsp, IPMI_DSP_Info_S* a_Table) const;
    /// The IPv4 address of a network interface of the board. 1; 0 when it has none, and the text is left as it is.
    int HostIP(const std::string& a_Interface, std::string& a_IP) const;
    /// Whether both texts are IPv4 addresses and equal under the mask.
    static bool IsOnSameSubnet(const std::string& a_First, const std::string& a_Second, const std::string& a_Mask);

private:
    void mKeepDSPMacs(const CBMITable& a_Table) const;

    const ADAPTOR_FRAME m_Frame;
    SNAPSHOT<DSP_MACS>& m_Macs;
};

} // namespace BM_ADAPTOR
