// The host's side of the interface: registrations, events, mode, logger, storage.
#include "host/session/Manager.h"

#include "bm_dev/HostLog.h"
#include "bm_dev/HostStorage.h"

namespace BMHOST {

MANAGER::MANAGER(int a_Mode, const std::string& a_Storage)
    : m_Mode(a_Mode),
      m_Storage(BM_PLATFORM::MakeStorage(a_Storage)) {}

int MANAGER::RegisterGroup(unsigned a_Group, BM_ADAPTOR::CBaseAdaptor*) {
    const std::lock_guard l_Lock(m_Guard);
    m_Groups.insert(a_Group);
    return 1;
}

int MANAGER::UnregisterGroup(unsigned a_Group) {
    const std::lock_guard l_Lock(m_Guard);
    return m_Groups.erase(a_Group) != 0 ? 1 : 0;
}

int MANAGER::RegisterEventClass(unsigned a_Class, BM_ADAPTOR::CBaseAdaptor*) {
    const std::lock_guard l_Lock(m_Guard);
    m_EventClasses.insert(a_Class);
    return 1;
}

int MANAGER::UnregisterEventClass(unsigned a_Class) {
    const std::lock_guard l_Lock(m_Guard);
    return m_EventClasses.erase(a_Class) != 0 ? 1 : 0;
}

CBaseOsLog* MANAGER::GetLogger() {
    return &BM_PLATFORM::HostLog();
}

int MANAGER::SendEvent(unsigned a_Event, unsigned a_Number, BM_ADAPTOR::CBMIEvParams* a_Params) {
    EVENT l_Event{a_Event, a_Number, a_Params != nullptr ? *a_Params : BM_ADAPTOR::CBMIEvParams{}};
    const std::lock_guard l_Lock(m_Guard);
    if (m_Taker) {
        m_Taker(std::move(l_Event));
        return 1;
    }
    m_Events.push_back(std::move(l_Event));
    m_Arrived.notify_one();
    return 1;
}

std::optional<EVENT> MANAGER::TakeEvent(std::chrono::milliseconds a_Wait) {
    std::unique_lock l_Lock(m_Guard);
    if (!m_Arrived.wait_for(l_Lock, a_Wait, [this] { return !m_Events.empty(); })) return std::nullopt;
    EVENT l_Event = std::move(m_Events.front());
    m_Events.pop_front();
    return l_Event;
}

void MANAGER::HandTo(std::function<void(EVENT)> a_Taker) {
    const std::lock_guard l_Lock(m_Guard);
    m_Taker = std::move(a_Taker);
    for (; m_Taker && !m_Events.empty(); m_Events.pop_front())
        m_Taker(std::move(m_Events.front()));
}

} // namespace BMHOST
