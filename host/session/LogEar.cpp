// Listeners to the log: as many as there are, though the log hands its lines to one.
#include "host/session/LogEar.h"

#include "bm_dev/HostLog.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace bmhost {

namespace {

// Never destroyed: the adaptor's threads log until the process has ended.
struct Ears {
    std::mutex m_guard;
    std::vector<const LogEar::Taker*> m_takers;
};

Ears& TheEars() {
    static Ears& ears = *new Ears;
    return ears;
}

void Pass(int level, const std::string& component, const std::string& text) {
    const std::lock_guard lock(TheEars().m_guard);
    for (const LogEar::Taker* taker : TheEars().m_takers)
        (*taker)(level, component, text);
}

// Stays the log's listener, with ears or without: the log is locked while it calls one, so no ear may wait for it.
void Listen() {
    static std::once_flag once;
    std::call_once(once, [] { bm_dev::LogToListener(Pass); });
}

} // namespace

LogEar::LogEar(Taker taker) : m_taker(std::move(taker)) {
    Listen();
    const std::lock_guard lock(TheEars().m_guard);
    TheEars().m_takers.push_back(&m_taker);
}

LogEar::~LogEar() {
    const std::lock_guard lock(TheEars().m_guard);
    std::erase(TheEars().m_takers, &m_taker);
}

} // namespace bmhost
