// Start-up of the DSPs: their addresses checked, then initialised, made known to the switch, booted and tested.
#pragma once

#include "adaptor/dsp/IPMI_DSPInfo.h"
#include "adaptor/startup/IPMI_RTMValues.h"
#include "common/veldo_common_snapshot.h"
#include "common/veldo_common_tools.h"

#include <cstddef>
#include <string>

namespace BM_ADAPTOR {

class BOARD;
class DSP_ADDRESSES;
class RUN_STATUS;

/// Made for one Start, on the host's thread; each of the board driver's tools is waited for, however long it takes.
class STARTUP {
public:
    /// @param a_InstallDir  root of the tools
    /// @param a_Published   the table of the DSPs for later readers
    STARTUP(BOARD& a_Board, const std::string& a_InstallDir, const RTM_VALUES& a_RTM, RUN_STATUS& a_Status,
            const DSP_ADDRESSES& a_DSPs, SNAPSHOT<DSP_TABLE>& a_Published)
        : m_Board(a_Board),
          m_InstallDir(a_InstallDir),
          m_RTM(a_RTM),
          m_Status(a_Status),
          m_DSPs(a_DSPs),
          m_Published(a_Published) {}

    /// Brings the DSPs into service.
    /// @param a_Count  how many DSPs are known
    /// @param a_Table  filled with their addresses
    /// @return 1; 0 without DSPs, for one off the host's subnet, and what the last look-up gave when that is not 1;
    ///         0x30011 without the host's address or when the DSPs were not initialised; 0x30012 for a later failure
    int Start(std::size_t a_Count, DSP_TABLE& a_Table);

    /// Tells the board driver how many DSPs there are. A failure is logged and passed over: always 1.
    static int SetDepop(BOARD& a_Board, int a_Count);

private:
    void mPublishDSPInfo(const DSP_TABLE& a_Table);
    int mMakeDSPInfo(std::size_t a_Count, DSP_TABLE& a_Table);
    int mInitDSPs() const;
    int mTeachDSPs(const DSP_TABLE& a_Table);
    int mBootDSPs(const DSP_TABLE& a_Table);
    int mTestDSPs(const DSP_TABLE& a_Table);
    std::string mCommand(const TOOL_FORMS& a_Forms) const;
    int mRunTool(const std::string& a_Command) const;

    BOARD& m_Board;
    const std::string& m_InstallDir;
    const RTM_VALUES& m_RTM;
    RUN_STATUS& m_Status;
    const DSP_ADDRESSES& m_DSPs;
    SNAPSHOT<DSP_TABLE>& m_Published;
};

} // namespace BM_ADAPTOR
