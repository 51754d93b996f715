// The picture of the blade as the resident host keeps it.
#include "host/resident/PictureKeeper.h"

#include <nlohmann/json.hpp>

#include <iterator>
#include <utility>

namespace bmhost {

PictureKeeper::PictureKeeper(NewsRing& news) : m_news(news) {
    auto first = std::make_shared<Picture>();
    first->m_revision = 1;
    first->m_time = WallNow();
    m_picture = std::move(first);
}

std::shared_ptr<const Picture> PictureKeeper::Now() const {
    const std::lock_guard lock(m_guard);
    return m_picture;
}

void PictureKeeper::Change(std::initializer_list<std::string_view> parts, const std::function<bool(Picture&)>& change) {
    uint64_t revision = 0;
    {
        const std::lock_guard lock(m_guard);
        auto next = std::make_shared<Picture>(*m_picture);
        if (!change(*next)) return;
        revision = ++next->m_revision;
        next->m_time = WallNow();
        m_picture = std::move(next);
    }
    if (parts.size() == 0) return;
    const nlohmann::ordered_json data = {{"revision", revision}, {"parts", parts}};
    m_news.Add("picture", data.dump());
}

uint64_t PictureKeeper::Called(CallInProgress call, bool told) {
    uint64_t number = 0;
    Change(told ? Part{"calls"} : Part{}, [&](Picture& picture) {
        number = ++m_lastCall;
        m_callNumbers.insert(number);
        picture.m_calls.push_back(std::move(call));
        return true;
    });
    return number;
}

void PictureKeeper::Returned(uint64_t call, bool told) {
    Change(told ? Part{"calls"} : Part{}, [&](Picture& picture) {
        const auto found = m_callNumbers.find(call);
        if (found == m_callNumbers.end()) return false;
        picture.m_calls.erase(picture.m_calls.begin() + std::distance(m_callNumbers.begin(), found));
        m_callNumbers.erase(found);
        return true;
    });
}

} // namespace bmhost
