// The picture of the blade as the resident host keeps it.
#include "host/resident/PictureKeeper.h"

#include "host/picture/Causes.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <new>
#include <utility>

namespace bmhost {

namespace {

// A clock that is adjusted goes a little faster or slower; more than this between two looks means that it was set.
constexpr std::chrono::seconds Adjusted(2);

// Moves what is compared with the present, or with another of these, by as much as the clock.
void GoWithTheClock(Picture& picture, std::chrono::milliseconds step) {
    for (LedReading& reading : picture.m_leds)
        if (reading.m_read != WallTime{}) reading.m_read += step;
    for (CallInProgress& call : picture.m_calls)
        if (call.m_since != WallTime{}) call.m_since += step;
    if (picture.m_host.m_start) picture.m_host.m_start->m_time += step;
}

// The same but for what shows them, which is no news.
bool SameFaults(const std::vector<Fault>& one, const std::vector<Fault>& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), [](const Fault& left, const Fault& right) {
        return left.m_place == right.m_place && left.m_what == right.m_what && left.m_cause == right.m_cause;
    });
}

} // namespace

PictureKeeper::PictureKeeper(NewsRing& news, Clocks clocks)
    : m_news(news),
      m_clocks(std::move(clocks)),
      m_ahead(Ahead()) {
    auto first = std::make_shared<Picture>();
    first->m_revision = 1;
    first->m_time = m_clocks.m_wall();
    m_picture = std::move(first);
}

std::chrono::milliseconds PictureKeeper::Ahead() const {
    const auto steady = std::chrono::floor<std::chrono::milliseconds>(m_clocks.m_steady().time_since_epoch());
    return m_clocks.m_wall().time_since_epoch() - steady;
}

// A copy of the picture, by the clock as it is now, with the calls that have not returned. Called with the guard.
std::shared_ptr<Picture> PictureKeeper::Next() {
    auto next = std::make_shared<Picture>(*m_picture);
    std::erase_if(next->m_calls, [this](const CallInProgress& call) { return !m_lanes.contains(call.m_number); });
    const auto step = Ahead() - m_ahead;
    m_ahead += step;
    if (std::chrono::abs(step) <= Adjusted) return next;
    GoWithTheClock(*next, step);
    m_picture = std::make_shared<Picture>(*next);
    return next;
}

std::shared_ptr<const Picture> PictureKeeper::Now() const {
    const std::lock_guard lock(m_guard);
    return m_picture;
}

void PictureKeeper::Change(std::initializer_list<std::string_view> parts, const std::function<bool(Picture&)>& change) {
    std::vector<std::string_view> changed(parts);
    uint64_t revision = 0;
    {
        const std::lock_guard lock(m_guard);
        auto next = Next();
        if (!change(*next)) return;
        revision = ++next->m_revision;
        next->m_time = m_clocks.m_wall();
        next->m_faults = FaultsOf(*next);
        if (!SameFaults(next->m_faults, m_picture->m_faults)) changed.emplace_back("faults");
        m_picture = std::move(next);
    }
    Tell(revision, changed);
}

void PictureKeeper::LookForFaults() {
    uint64_t revision = 0;
    {
        const std::lock_guard lock(m_guard);
        auto next = Next();
        next->m_time = m_clocks.m_wall();
        next->m_faults = FaultsOf(*next);
        if (SameFaults(next->m_faults, m_picture->m_faults)) return;
        revision = ++next->m_revision;
        m_picture = std::move(next);
    }
    Tell(revision, {"faults"});
}

void PictureKeeper::Tell(uint64_t revision, const std::vector<std::string_view>& parts) {
    if (parts.empty()) return;
    const nlohmann::ordered_json data = {{"revision", revision}, {"parts", parts}};
    m_news.Add("picture", data.dump());
}

uint64_t PictureKeeper::Called(CallInProgress call, bool told, const Lane* lane) {
    uint64_t number = 0;
    Change(told ? Part{"calls"} : Part{}, [&](Picture& picture) {
        number = ++m_lastCall;
        call.m_number = number;
        picture.m_calls.push_back(std::move(call));
        m_lanes.emplace(number, lane);
        NameWaits(picture);
        return true;
    });
    return number;
}

void PictureKeeper::Began(uint64_t call, bool told) {
    Change(told ? Part{"calls"} : Part{}, [&](Picture& picture) {
        const auto begun = std::ranges::find(picture.m_calls, call, &CallInProgress::m_number);
        if (begun == picture.m_calls.end()) return false;
        begun->m_waiting = false;
        begun->m_since = WallNow();
        NameWaits(picture);
        return true;
    });
}

void PictureKeeper::Returned(uint64_t call, bool told) {
    {
        const std::lock_guard lock(m_guard);
        if (m_lanes.erase(call) == 0) return;
    }
    try {
        Change(told ? Part{"calls"} : Part{}, [this](Picture& picture) {
            NameWaits(picture);
            return true;
        });
    } catch (const std::bad_alloc&) { // the next picture is without it
    }
}

void PictureKeeper::Meanwhile(const Lane& lane, const std::string& what) {
    {
        const std::lock_guard lock(m_guard);
        m_meanwhile[&lane] = what.empty() ? "" : what + " since " + Rfc3339(WallNow());
        const auto& calls = m_picture->m_calls;
        if (std::none_of(calls.begin(), calls.end(), [](const CallInProgress& call) { return call.m_waiting; })) return;
    }
    Change({}, [this](Picture& picture) {
        NameWaits(picture);
        return true;
    });
}

const Lane* PictureKeeper::LaneOf(const CallInProgress& call) const {
    const auto found = m_lanes.find(call.m_number);
    return found != m_lanes.end() ? found->second : nullptr;
}

void PictureKeeper::NameWaits(Picture& picture) const {
    for (CallInProgress& call : picture.m_calls) {
        const Lane* const lane = call.m_waiting ? LaneOf(call) : nullptr;
        call.m_waitsFor = lane != nullptr ? InFrontOn(*lane, picture) : "";
    }
}

// The oldest of the calls that are not waiting themselves.
std::string PictureKeeper::InFrontOn(const Lane& lane, const Picture& picture) const {
    for (const CallInProgress& call : picture.m_calls) {
        if (!call.m_waiting && LaneOf(call) == &lane)
            return "`" + call.m_operation + "` since " + Rfc3339(call.m_since);
    }
    const auto other = m_meanwhile.find(&lane);
    return other != m_meanwhile.end() ? other->second : "";
}

} // namespace bmhost
