// Writes of one LED.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "bm/Params.h"

namespace BM_ADAPTOR {

/// A write for each kind of LED. Made for one call, on any host thread; several may run at once. A write blocks,
/// without a time-out, until the controller has replied.
///
/// Both take keys and values of the internal rows (0x1xx, 0x2xx), whichever group they come through; they stay the
/// caller's. RESULT_NO_ARGUMENT when either is null, RESULT_NOT_FOUND without a key, entity or LED, RESULT_NO_VALUE
/// without a value that is needed. A write that is taken gives RESULT_OK through an OpenIPMI control and under
/// simulation, and 0 through the probe; one that is refused there its completion code.
class LED_WRITES {
public:
    explicit LED_WRITES(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    int Baseboard(const CBMIKeys* a_Keys, const CBMIParams* a_Values) const;
    /// An LED of the first AMC, whatever bay the keys name; they must name one. Keys of a baseboard's LED, and none of
    /// an AMC's, go to Baseboard.
    int AMC(const CBMIKeys* a_Keys, const CBMIParams* a_Values) const;

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
