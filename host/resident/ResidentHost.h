// What the resident host does for those who ask at its socket. Every member returns at once, on any thread.
#pragma once

#include "host/news/NewsRing.h"
#include "host/orders/Order.h"
#include "host/picture/Picture.h"
#include "host/picture/Statistics.h"
#include "host/words/Call.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bmhost {

/// Who asks, by what the kernel knows of the other end of the socket.
struct Asker {
    int32_t m_process = 0;
    uint32_t m_user = 0;
    uint32_t m_group = 0;
    std::string m_account; ///< of somebody for whom a door asks; empty otherwise

    std::string Text() const; ///< "uid 0, process 4711"
};

/// The answer to a call or an order: `m_status` is HTTP's, the body one JSON object.
struct Answer {
    unsigned m_status = 200;
    nlohmann::ordered_json m_body;
};
/// Called once, on any thread, perhaps before the asking member returns, perhaps never while the host lives.
using Answered = std::function<void(Answer)>;

class ResidentHost {
public:
    virtual ~ResidentHost() = default;

    /// The picture as it stands; it does not change any more.
    virtual std::shared_ptr<const Picture> Now() const = 0;
    /// What has been counted so far. Not in the picture: each count would make a new one.
    virtual Statistics Counts() const = 0;

    /// A read, a table, a write, a start or a stop; the body is the line that --json shows.
    virtual void Ask(const Asker& asker, Call call, Answered answered) = 0;
    /// The body is OrderOutcomeJson, with "order", "result", "good", "changed", "text", "remarks", "reasons", "cure".
    virtual void Ask(const Asker& asker, Order order, Answered answered) = 0;

    /// Events after this id that are still kept, oldest first: the last 1,000 are.
    virtual std::vector<News> NewsAfter(uint64_t id) const = 0;
    /// Called after each piece of news, on any thread; with null, no longer once this returns.
    virtual void OnNews(std::function<void()> listener) = 0;

    /// The last lines of the log, oldest first, at most that many: objects with time, level, component, text.
    virtual std::vector<nlohmann::ordered_json> LogLines(std::size_t most) const = 0;
};

} // namespace bmhost
