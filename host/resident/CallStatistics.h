// The adaptor, with a count of what is asked of it and of what it tells.
#pragma once

#include "host/orders/Order.h"
#include "host/picture/Statistics.h"
#include "host/session/Session.h"

#include <cstdint>
#include <mutex>
#include <string>

namespace bmhost {

/// Whether calls on this group ask the controller.
bool IsOfController(unsigned group);

/// Passes every call on. Any thread; a call is counted when it has returned.
class CallStatistics final : public Session {
public:
    /// @param adaptor  outlives this
    explicit CallStatistics(Session& adaptor);

    Statistics Now() const;

    void CarriedOut(const std::string& order, const OrderOutcome& outcome);
    void Told(const AdaptorEvent& event);
    void Restarted();

    int Lifecycle(Operation operation) override;
    std::unique_ptr<BM_ADAPTOR::CBMITable> Table(unsigned group, int& result) override;
    std::unique_ptr<BM_ADAPTOR::CBMIParams> Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys, int& result) override;
    int WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) override;
    std::optional<AdaptorEvent> TakeEvent(std::chrono::milliseconds wait) override { return m_adaptor.TakeEvent(wait); }
    std::vector<std::string> ReasonsFromElsewhere() const override { return m_adaptor.ReasonsFromElsewhere(); }
    StorageComplaints Complaints() const override { return m_adaptor.Complaints(); }
    bool HasUpgraded() const override { return m_adaptor.HasUpgraded(); }

private:
    class Counted;

    Session& m_adaptor;
    mutable std::mutex m_guard; ///< protects what follows
    Statistics m_counts;
};

} // namespace bmhost
