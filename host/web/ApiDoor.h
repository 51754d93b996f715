// The resident host's API at the web door: what is read comes from the mirror, what is asked is passed on.
#pragma once

#include "host/api/ApiService.h"
#include "host/web/BladeMirror.h"
#include "host/web/Forwarder.h"

#include <string>

namespace bmhost {

/// Answers at /v1 as the host's socket does. The header Bmhost-Account is the account's for whom it passes on: whoever
/// is before it has checked that, and has taken away what the client itself had written there.
class ApiDoor final : public HttpService {
public:
    /// The mirror and both forwarders outlive the service.
    /// @param orders  what may take long
    /// @param looks   what the host answers at once
    ApiDoor(const BladeMirror& mirror, Forwarder& orders, Forwarder& looks, const ApiLimits& limits);
    ApiDoor(const ApiDoor&) = delete;
    ApiDoor& operator=(const ApiDoor&) = delete;

    BodyPlan Begin(Request& request, std::optional<uint64_t> length) override;
    Outcome Handle(Request& request, const TakeTicket& takeTicket) override;
    Reply ErrorReply(const Request& request, const Refusal& refusal) override;

private:
    /// The mirror as the host that looks ask.
    class MirroredHost final : public ResidentHost {
    public:
        explicit MirroredHost(const BladeMirror& mirror) : m_mirror(mirror) {}
        std::shared_ptr<const Picture> Now() const override { return m_mirror.Now().m_picture; }
        /// Throws Refusal when the host has not told them.
        Statistics Counts() const override;
        void Ask(const Asker& asker, Call call, Answered answered) override;
        void Ask(const Asker& asker, Order order, Answered answered) override;
        std::vector<News> NewsAfter(uint64_t id) const override { return m_mirror.NewsAfter(id); }
        void OnNews(std::function<void()> /*listener*/) override {}
        std::vector<nlohmann::ordered_json> LogLines(std::size_t /*most*/) const override { return {}; }

    private:
        const BladeMirror& m_mirror;
    };

    Outcome Look(Request& request, const TakeTicket& takeTicket, const Route& route);
    Outcome PassOn(Forwarder& forwarder, const Request& request, const TakeTicket& takeTicket, Forwarder::Work work);

    const BladeMirror& m_mirror;
    Forwarder& m_orders;
    Forwarder& m_looks;
    MirroredHost m_host;
    ApiService m_api;
};

} // namespace bmhost
