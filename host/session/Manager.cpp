// The host's side of the interface: registrations, events, mode, logger, storage.
#include "host/session/Manager.h"

#include "bm_dev/HostLog.h"
#include "bm_dev/HostStorage.h"

#include <new>
#include <utility>

namespace bmhost {

HostManager::HostManager(int mode, const std::string& storage)
    : m_mode(mode),
      m_storage(bm_dev::MakeStorage(storage)) {}

int HostManager::RegisterGroup(unsigned group, BM_ADAPTOR::CBaseAdaptor*) {
    const std::lock_guard lock(m_guard);
    m_groups.insert(group);
    return 1;
}

int HostManager::UnregisterGroup(unsigned group) {
    const std::lock_guard lock(m_guard);
    return m_groups.erase(group) != 0 ? 1 : 0;
}

int HostManager::RegisterEventClass(unsigned eventClass, BM_ADAPTOR::CBaseAdaptor*) {
    const std::lock_guard lock(m_guard);
    m_eventClasses.insert(eventClass);
    return 1;
}

int HostManager::UnregisterEventClass(unsigned eventClass) {
    const std::lock_guard lock(m_guard);
    return m_eventClasses.erase(eventClass) != 0 ? 1 : 0;
}

CBaseOsLog* HostManager::GetLogger() {
    return &bm_dev::HostLog();
}

int HostManager::SendEvent(unsigned event, unsigned number, BM_ADAPTOR::CBMIEvParams* params) try {
    AdaptorEvent arrived{event, number, params != nullptr ? *params : BM_ADAPTOR::CBMIEvParams{}};
    const std::lock_guard lock(m_guard);
    if (m_taker) {
        m_taker(std::move(arrived));
        return 1;
    }
    m_events.push_back(std::move(arrived));
    m_arrived.notify_one();
    return 1;
} catch (const std::bad_alloc&) { // the adaptor's caller can do nothing about it
    return 0;
}

std::optional<AdaptorEvent> HostManager::TakeEvent(std::chrono::milliseconds wait) {
    std::unique_lock lock(m_guard);
    if (!m_arrived.wait_for(lock, wait, [this] { return !m_events.empty(); })) return std::nullopt;
    AdaptorEvent arrived = std::move(m_events.front());
    m_events.pop_front();
    return arrived;
}

void HostManager::HandTo(std::function<void(AdaptorEvent)> taker) {
    const std::lock_guard lock(m_guard);
    m_taker = std::move(taker);
    for (; m_taker && !m_events.empty(); m_events.pop_front())
        m_taker(std::move(m_events.front()));
}

} // namespace bmhost
