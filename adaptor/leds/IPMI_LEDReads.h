// Reads of one LED, for the rows of the four LED groups.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "bm/Params.h"

namespace BM_ADAPTOR {

/// One read for each group. Made for one call, on any host thread; several may run at once. A read blocks, without a
/// time-out, until the controller has replied.
///
/// Each adds keys and values to `a_Row` and returns RESULT_OK, or RESULT_NOT_FOUND and leaves the row alone: without a
/// row, keys, entity or LED. Through the probe the result is that of the probe's command, and there is a row whatever
/// it is. Keys and row stay the caller's.
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
