// The health monitor's diagnostic: do AMCs, DSPs and RTM pass the board driver's tool?
#pragma once

#include <string>

namespace BM_ADAPTOR {

class BOARD;
class WAIT_WATCHER;
struct MONITOR_ORDER;

/// Made for one check; keeps references only.
class DIAGNOSTIC {
public:
    DIAGNOSTIC(BOARD& a_Board, WAIT_WATCHER& a_Watcher, const std::string& a_InstallDir, const MONITOR_ORDER& a_Order)
        : m_Board(a_Board),
          m_Watcher(a_Watcher),
          m_InstallDir(a_InstallDir),
          m_Order(a_Order) {}

    /// Runs the tool and waits for its end, however long it takes. A tool that fails is run once more, for its report.
    /// @return a MONITOR_RESULT_e; every one but MONITOR_LIVE is logged
    int Check() const;

private:
    int mRun(bool a_bVerbose) const;
    std::string mCommand(bool a_bVerbose) const;

    BOARD& m_Board;
    WAIT_WATCHER& m_Watcher;
    const std::string& m_InstallDir;
    const MONITOR_ORDER& m_Order;
};

} // namespace BM_ADAPTOR
