// The host's side of the interface: registrations, events, mode, logger, storage.
#pragma once

#include "host/session/AdaptorEvent.h"

#include "bm/BaseAdaptor.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace bmhost {

/// Events come from any thread and wait in a queue.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class HostManager final : public BM_ADAPTOR::IBMAdaptorMgr {
public:
    /// @param storage  the folder of the storage, which the first transaction creates
    HostManager(int mode, const std::string& storage);

    int RegisterGroup(unsigned group, BM_ADAPTOR::CBaseAdaptor* adaptor) override;
    int UnregisterGroup(unsigned group) override;
    int RegisterEventClass(unsigned eventClass, BM_ADAPTOR::CBaseAdaptor* adaptor) override;
    int UnregisterEventClass(unsigned eventClass) override;
    QUB_STORAGE::CDataStorage* GetStorage() override { return m_storage.get(); }
    CBaseOsLog* GetLogger() override;
    int GetMode() override { return m_mode; }
    int SendEvent(unsigned event, unsigned number, BM_ADAPTOR::CBMIEvParams* params) override;

    /// Takes the oldest event from the queue; waits if there is none.
    std::optional<AdaptorEvent> TakeEvent(std::chrono::milliseconds wait);

    /// From now on events go to the taker instead of the queue, one at a time, on the thread that sends them; first
    /// those that wait in the queue. With null they go to the queue again.
    void HandTo(std::function<void(AdaptorEvent)> taker);

private:
    int m_mode;
    std::shared_ptr<QUB_STORAGE::CDataStorage> m_storage;
    std::mutex m_guard;
    std::condition_variable m_arrived;
    std::set<unsigned> m_groups;
    std::set<unsigned> m_eventClasses;
    std::deque<AdaptorEvent> m_events;
    std::function<void(AdaptorEvent)> m_taker;
};

} // namespace bmhost
