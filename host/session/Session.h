// One adaptor, and the calls that are made to it.
#pragma once

#include "host/output/Output.h"
#include "host/session/Manager.h"
#include "host/session/Plugin.h"
#include "host/session/StorageLog.h"
#include "host/words/Call.h"

namespace bmhost {

// The results of the adaptor's calls on which the host acts.
constexpr int Success = BM_ADAPTOR::RESULT_OK;
constexpr int NotFound = BM_ADAPTOR::RESULT_NOT_FOUND;

class Session {
public:
    /// Throws LoadError when the adaptor cannot be loaded.
    /// @param storage  the folder of the host's storage
    Session(const std::string& adaptorFile, int mode, const std::string& storage, Output& output);

    /// Makes one call and shows it. True when it returned 1; sleep and wait-event always do. Throws std::runtime_error
    /// when an exception leaves the adaptor.
    bool Run(Call& call);
    /// A single call on the command line: before read, table and write comes init, after them fin; neither shows
    /// anything.
    bool RunAlone(Call& call);

    /// Makes a lifecycle call and returns its result without showing it.
    int Lifecycle(Operation operation);
    /// The group's table, or null; `result` becomes the call's result.
    std::unique_ptr<BM_ADAPTOR::CBMITable> Table(unsigned group, int& result);
    /// The row of these keys, or null; likewise.
    std::unique_ptr<BM_ADAPTOR::CBMIParams> Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys, int& result);
    /// Writes a row and returns the call's result.
    int WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values);

    /// The host's side, where the adaptor's events arrive. It is never destroyed.
    HostManager& Manager() { return m_manager; }
    /// What the storage has logged since this object was made.
    const StorageLog& Complaints() const { return m_storageLog; }

private:
    bool Read(Call& call);
    bool Write(Call& call);
    void WaitEvent(int milliseconds);

    StorageLog m_storageLog;
    HostManager& m_manager;
    Plugin m_plugin;
    Output& m_output;
};

} // namespace bmhost
