// The adaptor as the resident host's lanes use it: what becomes of a call is noted in the picture.
#pragma once

#include "host/resident/UpgradeBook.h"
#include "host/session/Session.h"

#include <functional>
#include <string>

namespace bmhost {

/// Made for each call or order; used by one thread.
class HostSession final : public Session {
public:
    /// Makes a lifecycle call and notes what it returned.
    using LifecycleMaker = std::function<int(Operation operation)>;

    HostSession(Session& adaptor, LifecycleMaker lifecycle, UpgradeBook& upgrades, UpgradeBook::Image image,
                std::string asker);

    int Lifecycle(Operation operation) override { return m_lifecycle(operation); }
    std::unique_ptr<BM_ADAPTOR::CBMITable> Table(unsigned group, int& result) override;
    std::unique_ptr<BM_ADAPTOR::CBMIParams> Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys, int& result) override;
    int WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) override;
    /// None: the resident host takes them.
    std::optional<AdaptorEvent> TakeEvent(std::chrono::milliseconds) override { return std::nullopt; }
    StorageComplaints Complaints() const override { return m_adaptor.Complaints(); }
    bool HasUpgraded() const override { return m_adaptor.HasUpgraded(); }

private:
    Session& m_adaptor;
    LifecycleMaker m_lifecycle;
    UpgradeBook& m_upgrades;
    UpgradeBook::Image m_image;
    std::string m_asker;
};

} // namespace bmhost
