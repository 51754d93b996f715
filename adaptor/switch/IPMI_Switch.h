// Parameter group 0x30e00: the switch's external ports, and how they are made.
#pragma once

#include "adaptor/dsp/IPMI_DSPInfo.h"
#include "adaptor/switch/IPMI_SwitchPorts.h"
#include "common/veldo_common_snapshot.h"

#include <atomic>
#include <memory>

namespace BM_ADAPTOR {

class CBMIKeys;
class CBMIParams;
class CBMITable;
class IPMIAdaptor;

/// Works on the ports that the adaptor holds. Any thread, several at once; no lock is held while driver or storage are
/// asked. A port that is in use while Init or Fin takes it away stays until that is done.
class SWITCH {
public:
    /// @param a_Macs  the DSPs that the last Init found: without any, there is nothing to switch
    SWITCH(const SNAPSHOT<DSP_MACS>& a_Macs, std::atomic<void*>& a_PCIHandle, SNAPSHOT<SWITCH_PORTS>& a_Ports)
        : m_Macs(a_Macs),
          m_PCIHandle(a_PCIHandle),
          m_Ports(a_Ports) {}

    /// Opens the board driver's PCI memory and makes the ports. 1; 0 without DSPs, or when the driver refused.
    /// @param a_Owner  goes on to the ports, which take its storage
    int Init(IPMIAdaptor* a_Owner) const;
    /// Makes the four ports and brings them into their states. Each is served as soon as it is there, even when it
    /// could not be brought into its state; together they take the place of those there were before.
    void CreatePorts(IPMIAdaptor* a_Owner) const;

    /// The row of one port; asks the driver for its link. 1; 4 when the key is missing or no port's.
    int ReadRow(const CBMIKeys* a_Keys, CBMIParams* a_Row) const;
    /// All ports, in a table that becomes the caller's; none while no DSP is known. Always 1.
    int ReadTable(CBMITable*& a_Table) const;
    /// Drives a port and stores its state. 4 when the key is missing or no port's, or there are no values; 23 without a
    /// state; else as IPMI_SWITCHPORT::SetSwitch.
    int Write(const CBMIKeys* a_Keys, const CBMIParams* a_Values) const;

private:
    std::shared_ptr<IPMI_SWITCHPORT> mFind(const CBMIKeys* a_Keys) const;

    const SNAPSHOT<DSP_MACS>& m_Macs;
    std::atomic<void*>& m_PCIHandle;
    SNAPSHOT<SWITCH_PORTS>& m_Ports;
};

} // namespace BM_ADAPTOR
