// Reads of one LED, for the rows of the four LED groups.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "bm/Params.h"

namespace BM_ADAPTOR {

/// One read for each group. Made for one call, on any host thread; several may run at once. A read blocks, without a
/// time-out, until the controller has replied.
///
/// Each adds keys and values to `a_Row` and returns RESULT_OK. Without a row, a key, the entity or the LED it returns
/// RESULT_NOT_FOUND and adds nothing. A read through the probe returns the result of the probe's command, and adds keys
/// and values even when that failed. Keys and row stay the caller's.
class LED_READS {
public:
    explicit LED_READS(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    int BaseboardInternal(const CBMIKeys* a_Keys, CBMIParams* a_Row) const; ///< 0x100
    int Baseboard(const CBMIKeys* a_Keys, CBMIParams* a_Row) const;         ///< 0x30100
    int AMCInternal(const CBMIKeys* a_Keys, CBMIParams* a_Row) const;       ///< 0x200: AMCs and RTM
    int AMC(const CBMIKeys* a_Keys, CBMIParams* a_Row) const;               ///< 0x30300: AMCs and RTM

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
