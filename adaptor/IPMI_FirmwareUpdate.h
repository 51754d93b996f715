// The thread of one firmware upgrade: of the baseboard, an AMC or the RTM.
#pragma once

#include "bm/OSAL.h"
#include "common/veldo_common_protocol.h"

#include <memory>
#include <string>

class CBaseOsLog;

namespace BM_ADAPTOR {

class BOARD;
class IPMIAdaptor;
class UPGRADE_STATUS;

/// One upgrade: runs the firmware tool once, and ends the upgrade whatever happens. Whoever started it joins it before
/// he deletes it, or never deletes it.
class UPGRADETHREAD : public OSAL::OSALThread, public OSAL::OSALMonitor {
public:
    /// @param a_Adaptor    gives its status and its board, which must outlive the thread; may be gone when the thread
    ///                     runs. Null: a status of its own, and the board that the process runs on
    /// @param a_Logger     may be null
    /// @param a_Bay        9 for the RTM; not looked at unless the target is a module
    /// @param a_ImagePath  copied; handed to the tool as one argument, whatever is in it
    UPGRADETHREAD(IPMIAdaptor* a_Adaptor, CBaseOsLog* a_Logger, UPGRADETARGET a_Target, int a_Bay,
                  const char* a_ImagePath);

    void run() override;

private:
    int mRunTool() const;
    std::string mCommand() const;

    std::shared_ptr<UPGRADE_STATUS> m_Status;
    BOARD& m_Board;
    CBaseOsLog* m_Logger;
    UPGRADETARGET m_Target;
    int m_Bay;
    std::string m_ImagePath;
};

} // namespace BM_ADAPTOR
