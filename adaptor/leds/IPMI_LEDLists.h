// The tables of the four LED groups.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "bm/Params.h"

namespace BM_ADAPTOR {

/// One table for each group. Made for one call, on any host thread; several may run at once. Each row is a read of
/// LED_READS, which blocks until the controller has replied.
///
/// Each first allocates the table into `a_Table`. The caller owns it, whatever the result.
class LED_LISTS {
public:
    explicit LED_LISTS(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    /// LEDs 1 to 3 as far as they can be read. The result is that of LED 3.
    int BaseboardInternal(CBMITable*& a_Table) const; ///< 0x100
    int Baseboard(CBMITable*& a_Table) const;         ///< 0x30100
    /// The LEDs of bays 1 to 9; 9 is the RTM's. The result is RESULT_OK, or that of LED 2 of the bay that ends the
    /// table.
    int AMCInternal(CBMITable*& a_Table) const; ///< 0x200
    int AMC(CBMITable*& a_Table) const;         ///< 0x30300

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
