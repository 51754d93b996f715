// The run status of all AMCs and the RTM, in their table and on their LEDs.
#pragma once

#include "bm/Params.h"

#include <cstdint>
#include <span>

namespace BM_ADAPTOR {

/// The tables that a run status goes through, each by its handler: the host is told by the one, the LEDs are set by the
/// other.
class RUN_STATUS_TABLES {
public:
    virtual ~RUN_STATUS_TABLES() = default;
    /// Reads group 0x30200 into a table that becomes the caller's.
    virtual int ReadModules(CBMITable*& a_Table) = 0;
    /// Writes group 0x30200.
    virtual int WriteModule(CBMIKeys& a_Keys, CBMIParams& a_Values) = 0;
    /// Writes group 0x200.
    virtual int WriteLED(CBMIKeys& a_Keys, CBMIParams& a_Values) = 0;
};

/// Made for one call. Any host thread; the LEDs' replies are waited for, without a time-out.
class RUN_STATUS {
public:
    explicit RUN_STATUS(RUN_STATUS_TABLES& a_Tables) : m_Tables(a_Tables) {}

    /// Gives every module that is there the status.
    /// @param a_Status  a TELQ_HW_Device_RunStatus_e
    /// @return the table's result when it could not be read; else as SetRows
    int SetAll(int a_Status);
    /// Gives the modules of these rows the status, one after the other.
    /// @param a_Rows  of group 0x30200; one that the host's library does not give is null
    /// @return 1, or the result of the last health LED; 0x30011 for a row without a bay and the table's result for a
    ///         status that it does not take, each of which ends the walk. All of them are logged.
    int SetRows(std::span<const CBMIParams* const> a_Rows, int a_Status);

private:
    int mSetStatus(int32_t a_Bay, int a_Status);
    int mSetLED(int32_t a_Bay, int32_t a_LED, int32_t a_On, int32_t a_Off);

    RUN_STATUS_TABLES& m_Tables;
};

} // namespace BM_ADAPTOR
