// The web door behind the real server, before a scripted host.
#include "ServedDoor.h"

#include <gnutls/gnutls.h>
#include <netinet/in.h>
#include <sys/socket.h>

using namespace bmhost;

namespace {

uint16_t PortOf(int socket) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

std::string NameOf(Role role) {
    switch (role) {
    case Role::ReadOnly:
        return "reader";
    case Role::Operator:
        return "operator";
    case Role::Administrator:
        break;
    }
    return "admin";
}

ApiLimits SmallLimits() {
    ApiLimits limits;
    limits.m_imageFolder = "/tmp";
    limits.m_imageSize = 1000;
    return limits;
}

} // namespace

AccountFile ThreeAccounts() {
    std::vector<Account> accounts;
    for (const Role role : AllRoles)
        accounts.push_back({NameOf(role), role, NameOf(role) + "word"});
    return AccountFile(std::move(accounts));
}

BodyPlan AskedService::Begin(Request& /*request*/, std::optional<uint64_t> /*length*/) {
    return BodyPlan::Whole(1000);
}

Outcome AskedService::Handle(Request& request, const TakeTicket& /*takeTicket*/) {
    const auto visitor = VisitorOf(request);
    Reply reply;
    reply.m_body = std::make_shared<const std::string>(
        (visitor ? visitor->Text() + " " + std::string(RoleName(visitor->m_role)) : std::string("nobody")) +
        request.m_body);
    return reply;
}

Reply AskedService::ErrorReply(const Request& /*request*/, const Refusal& refusal) {
    return {refusal.m_status, std::make_shared<const std::string>("asked: " + std::string(refusal.what())),
            refusal.m_headers, "text/plain"};
}

ServedDoor::ServedDoor(const ForwarderLimits& orders)
    : m_compared(std::make_shared<std::atomic<int>>(0)),
      m_comparing(std::make_shared<std::mutex>()),
      m_mirror(m_blade.Place()),
      m_orders(m_blade.Place(), orders),
      m_looks(m_blade.Place()),
      m_logins(ThreeAccounts(), {},
               PasswordCheck(
                   [made = m_compared, comparing = m_comparing](const std::string& password, const std::string& hash) {
                       const std::lock_guard lock(*comparing);
                       ++*made;
                       return password == hash;
                   })),
      m_api(m_mirror, m_orders, m_looks, SmallLimits()),
      m_listening{ListenAtPort(), ListenAtPort()},
      m_ports{PortOf(m_listening[0].Get()), PortOf(m_listening[1].Get())},
      m_door(
          {{HostNames({"127.0.0.1", m_ports[0]}, {"h"}), true}, {HostNames({"192.0.2.7", m_ports[1]}, {"h"}), false}},
          m_logins, m_api) {
    m_door.Add("/v1", m_api);
    m_door.Add("/redfish", m_asked);
    m_server = std::make_unique<HttpServer>(
        std::vector<Listener>{{m_listening[0].Get()}, {m_listening[1].Get(), MakeTls("h")}}, m_door);
    m_mirror.OnNews([this] { m_server->WakeStreams(); });
    m_thread = std::thread([this] { m_server->Run([] {}); });
}

ServedDoor::~ServedDoor() {
    m_blade.Die();
    m_server->Stop();
    m_thread.join();
    m_mirror.OnNews(nullptr);
    m_server.reset();
}

void ServedDoor::SetAccounts(AccountFile accounts) {
    m_logins.Set(std::move(accounts));
    m_server->WakeStreams();
}

std::string Basic(const std::string& name, const std::string& password) {
    std::string text = name + ":" + password;
    const gnutls_datum_t from{reinterpret_cast<unsigned char*>(text.data()), static_cast<unsigned>(text.size())};
    gnutls_datum_t encoded{};
    gnutls_base64_encode2(&from, &encoded);
    std::string header =
        "Authorization: Basic " + std::string(reinterpret_cast<const char*>(encoded.data), encoded.size);
    gnutls_free(encoded.data);
    return header + "\r\n";
}
