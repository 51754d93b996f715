// The export of the RTM's PSTN configuration to the board's PCI driver.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"

namespace BM_ADAPTOR {

class PSTN_EXPORT {
public:
    explicit PSTN_EXPORT(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    /// Tells the driver of the RTM: first that there is none, and then, in a second opening of its file, what there is.
    /// @return 1; 0 when the driver's file could not be opened or did not take a record; 12 when there is no RTM, which
    /// the
    ///         driver was told
    int WriteProcFile() const;

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
