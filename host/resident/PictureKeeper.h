// The picture of the blade as the resident host keeps it.
#pragma once

#include "host/news/NewsRing.h"
#include "host/picture/Picture.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <set>
#include <string_view>
#include <vector>

namespace bmhost {

/// Readers get the picture as it stands, which does not change any more; whoever changes it makes a new one. Every
/// member on any thread.
class PictureKeeper {
public:
    explicit PictureKeeper(NewsRing& news);

    std::shared_ptr<const Picture> Now() const;

    /// @param parts  what changes for readers of events, by the parts' names; none: they are not told, since only a
    /// time has changed. The faults are found anew with each change; they are told where they differ.
    /// @param change  must neither log nor use the keeper; false: nothing has changed
    void Change(std::initializer_list<std::string_view> parts, const std::function<bool(Picture&)>& change);

    /// To be called now and then: readings grow old without a change.
    void LookForFaults();

    /// Notes a call until `Returned` gets its number.
    uint64_t Called(CallInProgress call, bool told);
    void Returned(uint64_t call, bool told);

private:
    using Part = std::initializer_list<std::string_view>;

    void Tell(uint64_t revision, const std::vector<std::string_view>& parts);

    NewsRing& m_news;
    mutable std::mutex m_guard;
    std::shared_ptr<const Picture> m_picture;
    std::set<uint64_t> m_callNumbers; ///< of the picture's calls, in their order
    uint64_t m_lastCall = 0;
};

} // namespace bmhost
