// The web door: from where may it be asked, who asks, may he, and which service answers.
#pragma once

#include "host/http/Service.h"
#include "host/web/Guards.h"
#include "host/web/Logins.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

/// Who has sent a request that the door has let in; nobody: it came without an account.
std::optional<Visitor> VisitorOf(const Request& request);

/// One listener of the server, in its order.
struct DoorListener {
    HostNames m_names;
    bool m_plainLoopback = false; ///< on a loopback address without TLS
};

/// Asks services of its own for what it lets in. They find in the header Bmhost-Account who asks, and there is none
/// unless the door has checked it; VisitorOf tells more. A service's ErrorReply is asked for what the door refuses,
/// too. A stream ends when its reader's account may read it no longer; streams have to be woken after Logins::Set.
class Door final : public HttpService {
public:
    /// Whether what the request names is the visitor's own: his session, his account.
    using IsOwn = std::function<bool(const Request& request, const Visitor& visitor)>;

    /// @param logins  outlives the door
    /// @param others  errors of paths that no service has
    Door(std::vector<DoorListener> listeners, Logins& logins, HttpService& others);
    Door(const Door&) = delete;
    Door& operator=(const Door&) = delete;

    /// The path and all below it are this service's, which outlives the door.
    void Add(const std::string& path, HttpService& service, IsOwn isOwn = {});

    BodyPlan Begin(Request& request, std::optional<uint64_t> length) override;
    Outcome Handle(Request& request, const TakeTicket& takeTicket) override;
    Reply ErrorReply(const Request& request, const Refusal& refusal) override;
    void Finish(const Request& request, Reply& reply) override;

private:
    struct Served {
        std::string m_path;
        HttpService* m_service;
        IsOwn m_isOwn;
    };
    class Checking;
    class CheckedSink;
    class GuardedStream;
    struct Own;

    const Served* ServedAt(std::string_view path) const;
    HttpService& ServiceOf(const Request& request) const;
    std::optional<Visitor> Enter(const Request& request, std::optional<Credentials>& unchecked) const;
    void Admit(const Request& request, const std::optional<Visitor>& visitor) const;
    void Guard(Streams& streams, const Request& request, std::shared_ptr<const AccountFile> accounts) const;

    const std::vector<DoorListener> m_listeners;
    Logins& m_logins;
    HttpService& m_others;
    std::vector<Served> m_services;
};

} // namespace bmhost
