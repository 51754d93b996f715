// Redfish at the web door: what the tree answers, and what its writes come to.
#pragma once

#include "host/http/Service.h"
#include "host/web/Door.h"
#include "host/web/Forwarder.h"
#include "host/web/redfish/writes/Writing.h"
#include "host/web/serve/EventFeed.h"
#include "host/web/serve/RedfishFacts.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bmhost {

struct RedfishLimits {
    uint64_t m_bodySize = 64 * 1024;
    std::string m_imageFolder;                          ///< for images on their way
    std::chrono::milliseconds m_imageTime{15 * 60'000}; ///< for a whole upload
    /// After an answer that goes out before its order is given: the order ends this machine.
    std::chrono::milliseconds m_answerFirst{500};
    /// Until an order's picture has come, so that who has given the order finds what it did.
    std::chrono::milliseconds m_picture{2'000};
};

/// Answers below /redfish, behind a Door. All on the server's thread, except for what says otherwise.
class RedfishDoor final : public HttpService {
public:
    /// The sources and the forwarder outlive the service; answers that come later do not need it.
    RedfishDoor(FactSources sources, Forwarder& orders, RedfishLimits limits);
    RedfishDoor(const RedfishDoor&) = delete;
    RedfishDoor& operator=(const RedfishDoor&) = delete;

    /// How streams are made to be woken soon.
    void OnEvents(std::function<void()> wake) { m_wake = std::move(wake); }
    /// Takes over what has happened, and gives the orders that wait for their answers to go out.
    void Turn();
    /// Whether what the request names is the visitor's own: session, account, stream of events.
    bool IsOwn(const Request& request, const Visitor& visitor) const;

    BodyPlan Begin(Request& request, std::optional<uint64_t> length) override;
    Outcome Handle(Request& request, const TakeTicket& takeTicket) override;
    Reply ErrorReply(const Request& request, const Refusal& refusal) override;
    void Finish(const Request& request, Reply& reply) override;

private:
    /// An order whose answer goes out before it.
    struct Answered {
        std::chrono::steady_clock::time_point m_due;
        std::string m_account;
        Order m_order;
    };

    Outcome OpenStream(const Request& request);
    Outcome Give(const Request& request, const OrderWish& wish, const TakeTicket& takeTicket);
    Outcome Upload(Request& request, const TakeTicket& takeTicket);
    Outcome LogIn(const Request& request, const LoginWish& wish, const TakeTicket& takeTicket);
    Outcome LogOut(const Request& request, const LogoutWish& wish);
    Outcome EndStream(const Request& request, const StreamEndWish& wish);
    Outcome TellTestEvent(const Request& request, const TestEventWish& wish);
    /// @param answer  of what the host answers, and whether its picture has come since
    void PassOn(const Request& request, const Ticket& ticket, Forwarder::Work work,
                const std::function<RedfishAnswer(const HostAnswer&, bool)>& answer);
    void Wake() const;

    const std::shared_ptr<RedfishParts> m_parts;
    Forwarder& m_orders;
    const RedfishLimits m_limits;
    std::function<void()> m_wake;
    std::vector<Answered> m_answered;
};

} // namespace bmhost
