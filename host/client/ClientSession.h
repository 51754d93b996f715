// The adaptor of the resident host, as a command asks it.
#pragma once

#include "host/client/HostClient.h"
#include "host/client/ServerEvents.h"
#include "host/output/Time.h"
#include "host/session/Session.h"

#include <string>

namespace bmhost {

/// Calls go through the socket and come back as they were, row by row. Throws what the client throws; UsageError for
/// what the host says cannot be meant.
class ClientSession final : public Session {
public:
    explicit ClientSession(HostClient& client);

    /// The resident host's adaptor is between its init and its fin: these two give 1 and ask nobody.
    int Lifecycle(Operation operation) override;
    std::unique_ptr<BM_ADAPTOR::CBMITable> Table(unsigned group, int& result) override;
    std::unique_ptr<BM_ADAPTOR::CBMIParams> Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys, int& result) override;
    int WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) override;
    /// Of those since the session began.
    std::optional<AdaptorEvent> TakeEvent(std::chrono::milliseconds wait) override;
    std::vector<std::string> ReasonsFromElsewhere() const override { return m_reasons; }
    /// The resident host's log has them.
    StorageComplaints Complaints() const override { return {}; }

private:
    int ByOrder(Operation operation);
    void Ask(const nlohmann::json& call, int& result, const std::function<void(const nlohmann::ordered_json&)>& take);

    HostClient& m_client;
    std::vector<std::string> m_reasons; ///< of the last call
    EventStream m_events;
    std::string m_begun = Rfc3339(WallNow());
};

/// What the host answered when it did what it was asked. Throws UsageError with its reason for what cannot be meant
/// (400), TimeUpError when its own patience is at its end (408), std::runtime_error with its reason for the rest.
nlohmann::ordered_json GoodBody(const HostAnswer& answer, const std::string& what);

} // namespace bmhost
