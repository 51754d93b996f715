// The host's side of the interface: registrations, events, mode, logger, storage.
#pragma once

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

namespace BMHOST {

struct EVENT {
    unsigned m_Event = 0;
    unsigned m_Number = 0;
    BM_ADAPTOR::CBMIEvParams m_Params;
};

/// Events come from any thread and wait in a queue.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class MANAGER final : public BM_ADAPTOR::IBMAdaptorMgr {
public:
    /// @param a_Storage  the folder of the storage; made with the first transaction
    MANAGER(int a_Mode, const std::string& a_Storage);

    int RegisterGroup(unsigned a_Group, BM_ADAPTOR::CBaseAdaptor* a_Adaptor) override;
    int UnregisterGroup(unsigned a_Group) override;
    int RegisterEventClass(unsigned a_Class, BM_ADAPTOR::CBaseAdaptor* a_Adaptor) override;
    int UnregisterEventClass(unsigned a_Class) override;
    QUB_STORAGE::CDataStorage* GetStorage() override { return m_Storage.get(); }
    CBaseOsLog* GetLogger() override;
    int GetMode() override { return m_Mode; }
    int SendEvent(unsigned a_Event, unsigned a_Number, BM_ADAPTOR::CBMIEvParams* a_Params) override;

    /// The oldest event not yet taken; waits for one.
    std::optional<EVENT> TakeEvent(std::chrono::milliseconds a_Wait);

    /// From now on events go to the taker instead of the queue, one at a time, on the thread that sends them; null: to
    /// the queue again. Those that wait in the queue go first.
    void HandTo(std::function<void(EVENT)> a_Taker);

private:
    int m_Mode;
    std::shared_ptr<QUB_STORAGE::CDataStorage> m_Storage;
    std::mutex m_Guard;
    std::condition_variable m_Arrived;
    std::set<unsigned> m_Groups;
    std::set<unsigned> m_EventClasses;
    std::deque<EVENT> m_Events;
    std::function<void(EVENT)> m_Taker;
};

} // namespace BMHOST
