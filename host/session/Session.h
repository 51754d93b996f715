// One adaptor, and the calls that are made to it.
#pragma once

#include "host/output/Output.h"
#include "host/session/Manager.h"
#include "host/session/Plugin.h"
#include "host/session/StorageLog.h"
#include "host/words/Call.h"

namespace BMHOST {

// What the adaptor's calls return, as far as the host acts on it.
constexpr int SUCCESS = 1;
constexpr int NOT_FOUND = 12;

class SESSION {
public:
    /// Throws LOAD_ERROR when the adaptor cannot be loaded.
    /// @param a_Storage  the folder of the host's storage
    SESSION(const std::string& a_AdaptorFile, int a_Mode, const std::string& a_Storage, OUTPUT& a_Output);

    /// Makes one call and shows it. True when it returned 1; sleep and wait-event always do. Throws std::runtime_error
    /// when an exception leaves the adaptor.
    bool Run(CALL& a_Call);
    /// A call alone on the command line: read, table and write have init before and fin after, which show nothing.
    bool RunAlone(CALL& a_Call);

    /// The lifecycle call's result, shown to nobody.
    int Lifecycle(OPERATION a_Operation);
    /// The group's table, or null; `a_Result` becomes the call's result.
    std::unique_ptr<BM_ADAPTOR::CBMITable> Table(unsigned a_Group, int& a_Result);
    /// The row of these keys, or null; likewise.
    std::unique_ptr<BM_ADAPTOR::CBMIParams> Row(unsigned a_Group, const BM_ADAPTOR::CBMIKeys& a_Keys, int& a_Result);
    /// Writes a row and returns the call's result.
    int WriteRow(unsigned a_Group, BM_ADAPTOR::CBMIKeys& a_Keys, BM_ADAPTOR::CBMIParams& a_Values);

    /// The host's side: where the adaptor's events arrive. It is never destroyed.
    MANAGER& Manager() { return m_Manager; }
    /// What the storage has told since this was made.
    const STORAGE_LOG& StorageLog() const { return m_StorageLog; }

private:
    bool Read(CALL& a_Call);
    bool Write(CALL& a_Call);
    void WaitEvent(int a_Milliseconds);

    STORAGE_LOG m_StorageLog;
    MANAGER& m_Manager;
    PLUGIN m_Plugin;
    OUTPUT& m_Output;
};

} // namespace BMHOST
