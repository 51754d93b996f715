// `bmhost-web` as it serves.
#include "host/web/serve/Serve.h"

#include "host/http/Server.h"
#include "host/output/Redirect.h"
#include "host/service/ServiceManager.h"
#include "host/service/Signals.h"
#include "host/web/ApiDoor.h"
#include "host/web/BladeMirror.h"
#include "host/web/Door.h"
#include "host/web/DoorLog.h"
#include "host/web/Forwarder.h"
#include "host/web/ImageFile.h"
#include "host/web/Listening.h"
#include "host/web/Logins.h"
#include "host/web/TlsInit.h"
#include "host/web/WebOptions.h"
#include "host/web/page/PageService.h"
#include "host/web/serve/DoorJournal.h"
#include "host/web/serve/MetricsDoor.h"
#include "host/web/serve/RedfishDoor.h"
#include "host/words/Error.h"

#include "bm_dev/Thread.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace bmhost {

namespace {

// For what is on its way to the resident host when the door ends.
constexpr std::chrono::seconds LastWait(2);

std::string TextOfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file.good() && !file.eof()) throw UsageError(path + " cannot be read");
    return text;
}

std::optional<Tls> TlsOf(const WebOptions& options) {
    if (!options.HasTls()) return std::nullopt;
    return Tls{TextOfFile(options.m_certificate), TextOfFile(options.m_key)};
}

std::size_t Usable(const AccountFile& accounts) {
    return static_cast<std::size_t>(std::count_if(accounts.All().begin(), accounts.All().end(),
                                                  [](const Account& account) { return !account.m_locked; }));
}

std::vector<ListeningSocket> SocketsFor(const WebOptions& options, std::size_t accounts) {
    for (const ListenAddress& address : options.m_listen)
        CheckListenAddress(address, options, accounts);
    std::vector<ListeningSocket> sockets = ListeningSocketsOfServiceManager();
    for (const ListeningSocket& socket : sockets)
        CheckListenAddress(socket.m_address, options, accounts);
    for (const ListenAddress& address : options.m_listen)
        sockets.push_back(ListenAt(address));
    if (sockets.empty()) throw UsageError("no address to serve at: --listen ADDRESS:PORT names one");
    return sockets;
}

HttpLimits LimitsOfDoor() {
    HttpLimits limits;
    limits.m_connections = 320; // 200 readers and 50 of events, with room for those who give orders
    limits.m_connectionsOfAddress = 270;
    limits.m_eventReaders = 64;
    return limits;
}

ApiLimits LimitsOfApi(const WebOptions& options) {
    ApiLimits limits;
    limits.m_imageSize = options.m_imageSize;
    limits.m_imageFolder = ImageFolder();
    return limits;
}

RedfishLimits LimitsOfRedfish() {
    RedfishLimits limits;
    limits.m_imageFolder = ImageFolder();
    return limits;
}

std::optional<WallTime> ExpiryIfAny(const std::optional<Tls>& tls) {
    if (!tls) return std::nullopt;
    return ExpiryOf(tls->m_certificate);
}

std::vector<Listener> ListenersOf(const std::vector<ListeningSocket>& sockets, const std::optional<Tls>& tls) {
    std::vector<Listener> listeners;
    listeners.reserve(sockets.size());
    for (const ListeningSocket& socket : sockets) {
        const bool plain = socket.m_address.IsLoopback();
        listeners.push_back({socket.m_socket.Get(), plain ? std::nullopt : tls});
    }
    return listeners;
}

std::vector<DoorListener> NamesOf(const std::vector<ListeningSocket>& sockets, const WebOptions& options) {
    std::vector<DoorListener> listeners;
    listeners.reserve(sockets.size());
    for (const ListeningSocket& socket : sockets)
        listeners.push_back({HostNames(socket.m_address, options.m_serverNames), socket.m_address.IsLoopback()});
    return listeners;
}

/// All that serves, put together.
class WebDoor {
public:
    WebDoor(const WebOptions& options, AccountFile accounts, std::vector<ListeningSocket> sockets,
            std::atomic<bool>& reload, const DoorJournal& journal)
        : m_options(options),
          m_journal(journal),
          m_reload(reload),
          m_sockets(std::move(sockets)),
          m_expires(ExpiryIfAny(TlsOf(options))),
          m_mirror(PlaceOfHost()),
          m_orders(PlaceOfHost()),
          m_looks(PlaceOfHost(), {1, 32, std::chrono::seconds(5)}),
          m_logins(std::move(accounts)),
          m_api(m_mirror, m_orders, m_looks, LimitsOfApi(options)),
          m_metrics(m_mirror, [this] { return Facts(); }),
          m_redfish({m_mirror, m_logins, ServiceUuid(), options.m_imageSize}, m_orders, LimitsOfRedfish()),
          m_door(NamesOf(m_sockets, options), m_logins, m_api),
          m_server(ListenersOf(m_sockets, TlsOf(options)), m_door, LimitsOfDoor()) {
        m_door.Add("/v1", m_api);
        m_door.Add("/", m_page);
        m_door.Add("/page", m_page);
        m_door.Add("/metrics", m_metrics);
        m_door.Add("/redfish", m_redfish, [this](const Request& request, const Visitor& visitor) {
            return m_redfish.IsOwn(request, visitor);
        });
        m_orders.Tell(
            [this](const std::string& account, const HostAnswer& answer) { m_journal.Tell(account, answer); });
        m_redfish.OnEvents([this] { m_server.WakeStreams(); });
        m_mirror.OnNews([this] { m_server.WakeStreams(); });
    }
    ~WebDoor() { m_mirror.OnNews(nullptr); }
    WebDoor(const WebDoor&) = delete;
    WebDoor& operator=(const WebDoor&) = delete;

    void Stop() { m_server.Stop(); }

    void Run() {
        ServiceManager service;
        bool ready = false;
        m_server.Run([&] {
            if (!ready) TellReady(service);
            ready = true;
            if (m_reload.exchange(false)) Reload();
            m_redfish.Turn();
            service.Feed(Status());
        });
    }
    /// False when the host has not answered what was passed on: nothing that the threads use may go.
    bool End() {
        const bool orders = m_orders.End(LastWait);
        return m_looks.End(LastWait) && orders;
    }

private:
    std::string Status() const {
        const BladeView view = m_mirror.Now();
        return view.m_reachable ? "serves the blade" : "serves; of the blade nothing is heard: " + view.m_reason;
    }

    void TellReady(ServiceManager& service) {
        for (const ListeningSocket& socket : m_sockets)
            LogDoor("serves at " + socket.m_address.Text() + (socket.m_address.IsLoopback() ? "" : ", with TLS"));
        service.Ready();
    }

    WebFacts Facts() {
        const HttpCounts counts = m_server.Counts();
        WebFacts facts;
        facts.m_version = BMHOST_VERSION;
        facts.m_certificateExpires = m_expires;
        facts.m_connections = counts.m_connections;
        facts.m_eventStreams = counts.m_streams;
        facts.m_sessions = m_logins.OpenSessions().List().size();
        facts.m_failedLogins = m_logins.Failed();
        return facts;
    }

    void Reload() {
        try {
            AccountFile accounts = AccountFile::ReadIfThere(m_options.m_accounts);
            for (const ListeningSocket& socket : m_sockets)
                CheckListenAddress(socket.m_address, m_options, Usable(accounts));
            if (const auto tls = TlsOf(m_options)) {
                const WallTime expires = ExpiryOf(tls->m_certificate);
                for (std::size_t i = 0; i < m_sockets.size(); ++i) {
                    if (!m_sockets[i].m_address.IsLoopback()) m_server.SetTls(i, *tls);
                }
                m_expires = expires;
            }
            m_logins.Set(std::move(accounts));
            m_server.WakeStreams(); // those end whose account may read no longer
            LogDoor("certificate and accounts read again");
        } catch (const std::exception& error) {
            LogDoor(std::string("certificate and accounts not read again: ") + error.what());
        }
    }

    const WebOptions m_options;
    const DoorJournal& m_journal;
    std::atomic<bool>& m_reload; ///< somebody has asked for it
    const std::vector<ListeningSocket> m_sockets;
    std::optional<WallTime> m_expires; ///< the certificate
    BladeMirror m_mirror;
    Forwarder m_orders;
    Forwarder m_looks;
    Logins m_logins;
    ApiDoor m_api;
    PageService m_page;
    MetricsDoor m_metrics;
    RedfishDoor m_redfish;
    Door m_door;
    HttpServer m_server;
};

void Serve(WebDoor& web, StopRequest& stop) {
    bm_dev::Thread ender([&] {
        stop.Wait();
        ServiceManager::Stopping();
        web.Stop();
    });
    try {
        web.Run();
    } catch (...) {
        stop.Ask();
        ender.Join();
        throw;
    }
    ender.Join();
    if (!web.End()) _exit(ExitAllOk);
}

} // namespace

int ServeWeb(const std::vector<std::string>& words) {
    const WebOptions options = ReadWebOptions(words);
    if (!options.m_answer.empty()) {
        WriteAll(STDOUT_FILENO, options.m_answer);
        return ExitAllOk;
    }
    const DoorJournal journal;
    AccountFile accounts = AccountFile::ReadIfThere(options.m_accounts);
    std::vector<ListeningSocket> sockets = SocketsFor(options, Usable(accounts));
    if (Usable(accounts) == 0) LogDoor("there are no accounts in " + options.m_accounts + ": orders are refused");
    StopRequest stop;
    std::atomic<bool> reload{false};
    WithSignals(
        stop, "the door closes",
        [&] {
            WebDoor web(options, std::move(accounts), std::move(sockets), reload, journal);
            Serve(web, stop);
            return true;
        },
        [&] { reload = true; });
    return ExitAllOk;
}

} // namespace bmhost
