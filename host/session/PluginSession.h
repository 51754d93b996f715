// An adaptor that is loaded into this process, and the calls that are made to it.
#pragma once

#include "host/session/Manager.h"
#include "host/session/Plugin.h"
#include "host/session/Session.h"
#include "host/session/StorageLog.h"

#include <atomic>

namespace bmhost {

class PluginSession final : public Session {
public:
    /// Throws LoadError when the adaptor cannot be loaded.
    /// @param storage  the folder of the host's storage
    PluginSession(const std::string& adaptorFile, int mode, const std::string& storage);

    int Lifecycle(Operation operation) override;
    std::unique_ptr<BM_ADAPTOR::CBMITable> Table(unsigned group, int& result) override;
    std::unique_ptr<BM_ADAPTOR::CBMIParams> Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys, int& result) override;
    int WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) override;
    std::optional<AdaptorEvent> TakeEvent(std::chrono::milliseconds wait) override { return m_manager.TakeEvent(wait); }
    StorageComplaints Complaints() const override { return {m_storageLog.Count(), m_storageLog.Last()}; }
    bool HasUpgraded() const override { return m_upgraded; }

    /// The host's side: where the adaptor's events arrive. It is never destroyed.
    HostManager& Manager() { return m_manager; }
    /// The adaptor's library.
    const std::string& AdaptorFile() const { return m_plugin.File(); }

private:
    StorageLog m_storageLog;
    HostManager& m_manager;
    Plugin m_plugin;
    std::atomic<bool> m_upgraded = false;
};

} // namespace bmhost
