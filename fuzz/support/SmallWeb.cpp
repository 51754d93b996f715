// The whole web door on one thread: everything behind the HTTP library, down to the resident host's own API.
#include "support/SmallWeb.h"

#include "support/Require.h"
#include "support/StillMirror.h"

#include <chrono>

namespace fuzzing {

using namespace bmhost;
using namespace std::chrono_literals;

namespace {

constexpr uint64_t MostImage = 2048;
constexpr const char* Folder = "/dev/shm"; // images cost no disk

AccountFile AccountsOfAllRoles(const std::string& wordEnd) {
    return AccountFile({{"reader", Role::ReadOnly, "reader" + wordEnd},
                        {"operator", Role::Operator, "operator" + wordEnd},
                        {"admin", Role::Administrator, "admin" + wordEnd}});
}

ApiLimits LimitsOfApi() {
    ApiLimits limits;
    limits.m_imageSize = MostImage;
    limits.m_imageFolder = Folder;
    return limits;
}

RedfishLimits LimitsOfRedfish() {
    RedfishLimits limits;
    limits.m_imageFolder = Folder;
    limits.m_answerFirst = 0ms;
    return limits;
}

std::unique_ptr<BladeMirror> MirrorOf(const SmallWeb::Options& options) {
    BladeView view;
    view.m_picture = BladeOf(options.m_blade);
    view.m_reachable = options.m_reachable;
    view.m_reason = options.m_reachable ? "" : "nobody answers";
    ShowInMirrors(view);
    return std::make_unique<BladeMirror>(HostPlace{});
}

HttpService& ThePage() {
    static PageService page;
    return page;
}

WebFacts FactsOfNow() {
    WebFacts facts;
    facts.m_version = "1.0";
    return facts;
}

} // namespace

SmallWeb::SmallWeb(const Options& options)
    : m_resident(BladeOf(options.m_blade), options.m_answers),
      m_host(m_resident, LimitsOfApi(), m_resident.Images()),
      m_mirror(MirrorOf(options)),
      m_orders(HostPlace{}),
      m_looks(HostPlace{}),
      m_logins(AccountsOfAllRoles(options.m_wordEnd), {},
               PasswordCheck([](const std::string& password, const std::string& hash) { return password == hash; })),
      m_api(*m_mirror, m_orders, m_looks, LimitsOfApi()),
      m_metrics(*m_mirror, FactsOfNow),
      m_redfish({*m_mirror, m_logins, "92384634-2938-2342-8820-489239905423", MostImage}, m_orders, LimitsOfRedfish()),
      m_door({{HostNames({"127.0.0.1", 18080}, {"h"}), true}, {HostNames({"192.0.2.7", 443}, {"h"}), false}}, m_logins,
             m_api) {
    AskInClients(options.m_reachable ? &m_host : nullptr);
    m_door.Add("/v1", m_api);
    m_door.Add("/", ThePage());
    m_door.Add("/page", ThePage());
    m_door.Add("/metrics", m_metrics);
    m_door.Add("/redfish", m_redfish,
               [this](const Request& request, const Visitor& visitor) { return m_redfish.IsOwn(request, visitor); });
}

SmallWeb::~SmallWeb() {
    AskInClients(nullptr);
}

Asked SmallWeb::Ask(HttpText& text, std::size_t listener, std::size_t piece) {
    Peer& peer = text.m_request.m_peer;
    peer.m_listener = listener;
    peer.m_secure = listener == 1;
    peer.m_address = listener == 1 ? Elsewhere : "127.0.0.1";
    peer.m_port = 50312;
    const Asked asked = AskService(m_door, text, {piece, [this] { Turn(); }});
    Turn(); // what is done after the answer
    return asked;
}

std::string SmallWeb::TokenOf(const std::string& account) {
    const auto opened = OpenSessions().Open(account, "127.0.0.1");
    Require(opened.has_value(), "no session for " + account);
    return opened->m_token;
}

void SmallWeb::Turn() {
    m_redfish.Turn();
}

} // namespace fuzzing
