// Events of Redfish for those who read the stream of them.
#pragma once

#include "host/http/Stream.h"
#include "host/web/BladeMirror.h"
#include "host/web/redfish/TreeFacts.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace bmhost {

/// Who reads a stream.
struct EventReader {
    std::string m_account; ///< empty: nobody that is known
    std::string m_address;
    std::optional<uint64_t> m_session; ///< by whose token it was opened
};

/// Made of the mirror's news and pictures. On the server's thread, except for what says otherwise.
class EventFeed {
public:
    /// How many events are kept for readers that are slow or come back.
    static constexpr std::size_t Most = 1000;

    /// @param mirror  outlives the feed
    explicit EventFeed(const BladeMirror& mirror);

    /// Takes over what the mirror has heard.
    void Update();
    /// To all readers, who hear of it when they are woken.
    void Tell(const std::vector<nlohmann::ordered_json>& records);

    /// The stream is a subscription for as long as it lives; the feed outlives it.
    /// @param after  begins with the events after this id; none, and one that is not known: with what comes
    std::unique_ptr<Stream> Open(EventReader reader, std::optional<uint64_t> after);
    /// Ends the stream of this subscription, once it is woken; false if there is none.
    bool Close(const std::string& id);
    void CloseAllOf(uint64_t session);

    /// Any thread.
    std::vector<SubscriptionFacts> List() const;

private:
    class Reading;
    struct Told {
        uint64_t m_id;
        std::shared_ptr<const std::string> m_text;
    };
    struct Subscription {
        SubscriptionFacts m_facts;
        std::optional<uint64_t> m_session;
        bool m_isClosed = false;
    };

    /// Null when the ring has moved on, or there is none yet.
    const Told* Next(uint64_t after) const;
    uint64_t LastId() const { return m_lastId; }

    const BladeMirror& m_mirror;
    uint64_t m_seen = 0; ///< the last news of the mirror's
    std::shared_ptr<const Picture> m_picture;
    std::deque<Told> m_told;
    uint64_t m_lastId = 0;
    uint64_t m_lastSubscription = 0;
    mutable std::mutex m_guard; ///< of the subscriptions
    std::list<Subscription> m_subscriptions;
};

} // namespace bmhost
