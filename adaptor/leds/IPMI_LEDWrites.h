// Writes of one LED.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "bm/Params.h"

namespace BM_ADAPTOR {

/// A write for each kind of LED. Made for one call, on any host thread; several may run at once. A write blocks,
/// without a time-out, until the controller has replied.
///
/// Both take keys and values of the internal rows (0x1xx, 0x2xx), whichever group they come through; they stay the
/// caller's. A write that succeeds returns RESULT_OK through an OpenIPMI control and under simulation, but 0 through
/// the probe, where a refused one returns its completion code. RESULT_NO_ARGUMENT: keys or values are null;
/// RESULT_NOT_FOUND: no such key, entity or LED; RESULT_NO_VALUE: a value is missing.
class LED_WRITES {
public:
    explicit LED_WRITES(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    int Baseboard(const CBMIKeys* a_Keys, const CBMIParams* a_Values) const;
    /// Writes the first AMC's LED, whatever bay the keys name; they must name one. Keys that name a baseboard's LED and
    /// no AMC's go to Baseboard.
    int AMC(const CBMIKeys* a_Keys, const CBMIParams* a_Values) const;

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
