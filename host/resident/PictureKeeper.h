// The picture of the blade as the resident host keeps it.
#pragma once

#include "host/news/NewsRing.h"
#include "host/picture/Picture.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

class Lane;

/// Readers get the picture as it stands, which does not change any more; whoever changes it makes a new one. Every
/// member on any thread. When the clock is set, the times that are compared go with it: what is three seconds old stays
/// so.
class PictureKeeper {
public:
    /// Both tell the time since something; only the first is ever set.
    struct Clocks {
        std::function<WallTime()> m_wall = WallNow;
        std::function<std::chrono::steady_clock::time_point()> m_steady = std::chrono::steady_clock::now;
    };

    explicit PictureKeeper(NewsRing& news) : PictureKeeper(news, Clocks{}) {}
    PictureKeeper(NewsRing& news, Clocks clocks);

    std::shared_ptr<const Picture> Now() const;

    /// @param parts  what changes for readers of events, by the parts' names; none: they are not told, since only a
    /// time has changed. The faults are found anew with each change; they are told where they differ.
    /// @param change  must neither log nor use the keeper; false: nothing has changed
    void Change(std::initializer_list<std::string_view> parts, const std::function<bool(Picture&)>& change);

    /// To be called now and then: readings grow old without a change.
    void LookForFaults();

    /// Notes a call until `Returned` gets its number.
    /// @param lane  where calls wait for each other; null: this one waits for none
    uint64_t Called(CallInProgress call, bool told, const Lane* lane = nullptr);
    /// A call that waited has its turn.
    void Began(uint64_t call, bool told);
    void Returned(uint64_t call, bool told);
    /// What a lane does besides calls, for those that wait for it: "reading LED 2 of AMC bay 3". Empty: nothing.
    void Meanwhile(const Lane& lane, const std::string& what);

private:
    using Part = std::initializer_list<std::string_view>;

    std::shared_ptr<Picture> Next();
    std::chrono::milliseconds Ahead() const;
    void Tell(uint64_t revision, const std::vector<std::string_view>& parts);
    const Lane* LaneOf(const CallInProgress& call) const;
    void NameWaits(Picture& picture) const;
    std::string InFrontOn(const Lane& lane, const Picture& picture) const;

    NewsRing& m_news;
    Clocks m_clocks;
    std::chrono::milliseconds m_ahead; ///< the wall's clock, of the steady one
    mutable std::mutex m_guard;
    std::shared_ptr<const Picture> m_picture;
    std::map<uint64_t, const Lane*> m_lanes; ///< of the calls that have not returned, by their numbers
    std::map<const Lane*, std::string> m_meanwhile;
    uint64_t m_lastCall = 0;
};

} // namespace bmhost
