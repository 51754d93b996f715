// The web door: from where may it be asked, who asks, may he, and which service answers.
#include "host/web/Door.h"

#include "host/accounts/Grants.h"
#include "host/client/AccountHeader.h"
#include "host/words/Value.h"

#include <algorithm>
#include <any>
#include <cctype>
#include <exception>
#include <mutex>
#include <utility>
#include <variant>

namespace bmhost {

namespace {

constexpr const char* OwnHeaders = "bmhost-";
constexpr const char* RoleHeader = "Bmhost-Role";
constexpr const char* SessionHeader = "Bmhost-Session";

bool IsOwnHeader(const std::string& name) {
    const std::string_view own = OwnHeaders;
    return name.size() >= own.size() && std::equal(own.begin(), own.end(), name.begin(), [](char one, char other) {
               return one == static_cast<char>(tolower(static_cast<unsigned char>(other)));
           });
}

void SetVisitor(Request& request, const Visitor& visitor) {
    request.m_headers.emplace_back(AccountHeader, visitor.Text());
    request.m_headers.emplace_back(RoleHeader, RoleName(visitor.m_role));
    if (visitor.m_session) request.m_headers.emplace_back(SessionHeader, std::to_string(*visitor.m_session));
}

Refusal NeedsAccount() {
    return {401, "", "this needs an account", {{"WWW-Authenticate", "Basic realm=\"bmhost\""}}};
}

std::string PrivilegesText(Role role) {
    std::string text;
    for (const Privilege privilege : AllPrivileges) {
        if (Has(role, privilege)) text.append(text.empty() ? "" : ", ").append(PrivilegeName(privilege));
    }
    return text;
}

} // namespace

std::optional<Visitor> VisitorOf(const Request& request) {
    const std::string_view account = request.Header(AccountHeader);
    const auto role = RoleOf(request.Header(RoleHeader));
    if (account.empty() || !role) return std::nullopt;
    Visitor visitor{std::string(account.substr(0, account.find(' '))), *role, request.m_peer.m_address, std::nullopt};
    if (const auto session = ParseNumber(request.Header(SessionHeader)))
        visitor.m_session = static_cast<uint64_t>(*session);
    return visitor;
}

/// What becomes of one password.
class Door::Checking {
public:
    void Done(Logins::Login login) {
        std::function<void()> then;
        {
            const std::lock_guard lock(m_guard);
            m_login = std::move(login);
            then = std::move(m_then);
        }
        if (then) then();
    }
    /// Calls it when the check is done, at once if it is.
    void Then(std::function<void()> then) {
        {
            const std::lock_guard lock(m_guard);
            if (!m_login) {
                m_then = std::move(then);
                return;
            }
        }
        then();
    }
    bool IsDone() const {
        const std::lock_guard lock(m_guard);
        return m_login.has_value();
    }
    bool HasFailed() const {
        const std::lock_guard lock(m_guard);
        return m_login && std::holds_alternative<Refusal>(*m_login);
    }
    /// Once the check is done. Throws Refusal.
    Visitor Result() const {
        const std::lock_guard lock(m_guard);
        if (const auto* refusal = std::get_if<Refusal>(&*m_login)) throw *refusal;
        return std::get<Visitor>(*m_login);
    }

private:
    mutable std::mutex m_guard;
    std::optional<Logins::Login> m_login;
    std::function<void()> m_then;
};

/// Takes a body as long as its password has not turned out to be wrong.
class Door::CheckedSink final : public BodySink {
public:
    CheckedSink(std::unique_ptr<BodySink> sink, std::shared_ptr<Checking> checking)
        : m_sink(std::move(sink)),
          m_checking(std::move(checking)) {}

    void Write(const void* data, std::size_t size) override {
        if (m_checking->HasFailed()) m_sink.reset();
        if (m_sink != nullptr) m_sink->Write(data, size);
    }
    std::unique_ptr<BodySink> Take() { return std::move(m_sink); }

private:
    std::unique_ptr<BodySink> m_sink;
    std::shared_ptr<Checking> m_checking;
};

/// Goes on for as long as its reader's account may read it, with the password that it was opened with.
class Door::GuardedStream final : public Stream {
public:
    GuardedStream(std::unique_ptr<Stream> stream, Logins& logins, std::shared_ptr<const AccountFile> accounts,
                  std::string account, const Grant& grant)
        : m_stream(std::move(stream)),
          m_logins(logins),
          m_account(std::move(account)),
          m_hash(HashIn(*accounts)),
          m_grant(grant),
          m_accounts(std::move(accounts)) {}

    std::size_t Next(char* to, std::size_t most) override {
        if (!MayStillRead()) m_stream->End();
        return m_stream->Next(to, most);
    }
    bool HasEnded() const override { return m_stream->HasEnded(); }
    void End() override { m_stream->End(); }
    std::chrono::steady_clock::time_point NextComment() const override { return m_stream->NextComment(); }
    std::string ContentType() const override { return m_stream->ContentType(); }

private:
    std::string HashIn(const AccountFile& accounts) const {
        const Account* const account = accounts.Find(m_account);
        return account == nullptr ? std::string() : account->m_hash;
    }

    bool MayStillRead() {
        auto now = m_logins.Accounts();
        if (now == m_accounts) return true; // the accounts have not been read again
        const Account* const account = now->Find(m_account);
        if (account == nullptr || account->m_locked || account->m_hash != m_hash) return false;
        if (!MayDo(account->m_role, m_grant, false)) return false;
        m_accounts = std::move(now);
        return true;
    }

    const std::unique_ptr<Stream> m_stream;
    Logins& m_logins;
    const std::string m_account;
    const std::string m_hash;
    const Grant& m_grant;
    std::shared_ptr<const AccountFile> m_accounts; ///< by these it may
};

/// What the door keeps in a request, from Begin to Handle.
struct Door::Own {
    std::any m_service; ///< the service's own
    std::shared_ptr<Checking> m_checking;
    std::shared_ptr<const AccountFile> m_accounts; ///< from before it was looked at who asks
};

Door::Door(std::vector<DoorListener> listeners, Logins& logins, HttpService& others)
    : m_listeners(std::move(listeners)),
      m_logins(logins),
      m_others(others) {}

void Door::Add(const std::string& path, HttpService& service, IsOwn isOwn) {
    m_services.push_back({path, &service, std::move(isOwn)});
}

const Door::Served* Door::ServedAt(std::string_view path) const {
    const auto found = std::find_if(m_services.begin(), m_services.end(), [&](const Served& served) {
        if (!path.starts_with(served.m_path)) return false;
        return path.size() == served.m_path.size() || (served.m_path != "/" && path[served.m_path.size()] == '/');
    });
    return found == m_services.end() ? nullptr : &*found;
}

HttpService& Door::ServiceOf(const Request& request) const {
    const Served* const served = ServedAt(request.m_path);
    return served == nullptr ? m_others : *served->m_service;
}

// Who it is, as far as no password has to be compared for it.
std::optional<Visitor> Door::Enter(const Request& request, std::optional<Credentials>& unchecked) const {
    const std::string_view token = request.Header("X-Auth-Token");
    const std::string_view authorization = request.Header("Authorization");
    if (token.empty() && authorization.empty()) return std::nullopt;
    if (!request.m_peer.m_secure && !m_listeners.at(request.m_peer.m_listener).m_plainLoopback)
        throw Refusal(403, "", "nobody shows a password without TLS");
    std::optional<Visitor> visitor;
    if (!token.empty()) {
        visitor = m_logins.WithToken(token, request.m_peer.m_address);
    } else if (auto credentials = BasicCredentials(authorization)) {
        visitor = m_logins.Remembered(*credentials, request.m_peer.m_address);
        if (!visitor) unchecked = std::move(credentials);
    }
    if (!visitor && !unchecked) throw NeedsAccount();
    return visitor;
}

void Door::Admit(const Request& request, const std::optional<Visitor>& visitor) const {
    const Grant* const grant = GrantFor(request.m_method, request.m_path);
    const bool plain = m_listeners.at(request.m_peer.m_listener).m_plainLoopback;
    if (grant == nullptr) {
        if (!visitor && !plain) throw NeedsAccount();
        std::string allowed;
        for (const std::string_view method : MethodsOf(request.m_path))
            allowed += (allowed.empty() ? "" : ", ") + std::string(method);
        if (allowed.empty()) throw Refusal(404, request.m_path, "no such path");
        throw Refusal(405, request.m_method, "this path serves " + allowed, {{"Allow", allowed}});
    }
    if (!visitor) {
        const bool open =
            grant->m_without == Without::Everywhere || (plain && grant->m_without == Without::PlainLoopback);
        if (!open) throw NeedsAccount();
        return;
    }
    const Served* const served = ServedAt(request.m_path);
    const bool own = served != nullptr && served->m_isOwn && served->m_isOwn(request, *visitor);
    if (MayDo(visitor->m_role, *grant, own)) return;
    throw Refusal(403, visitor->m_name,
                  "this needs the privilege " + std::string(PrivilegeName(grant->m_needs)) + ", and the role " +
                      std::string(RoleName(visitor->m_role)) + " has " + PrivilegesText(visitor->m_role));
}

BodyPlan Door::Begin(Request& request, std::optional<uint64_t> length) {
    m_listeners.at(request.m_peer.m_listener).m_names.Check(request);
    // Only the door writes these.
    std::erase_if(request.m_headers, [](const auto& header) { return IsOwnHeader(header.first); });
    const auto accounts = m_logins.Accounts();
    std::optional<Credentials> unchecked;
    const std::optional<Visitor> visitor = Enter(request, unchecked);
    if (!unchecked) Admit(request, visitor);
    if (visitor) SetVisitor(request, *visitor);
    const Served* const served = ServedAt(request.m_path);
    if (served == nullptr) throw Refusal(404, request.m_path, "no such path");
    BodyPlan plan = served->m_service->Begin(request, length);
    std::shared_ptr<Checking> checking;
    if (unchecked) {
        checking = std::make_shared<Checking>();
        if (plan.m_sink) plan.m_sink = std::make_unique<CheckedSink>(std::move(plan.m_sink), checking);
        m_logins.Check(*unchecked, request.m_peer.m_address,
                       [checking](Logins::Login login) { checking->Done(std::move(login)); });
    }
    request.m_own = Own{std::move(request.m_own), checking, accounts};
    return plan;
}

Outcome Door::Handle(Request& request, const TakeTicket& takeTicket) {
    const std::shared_ptr<Checking> checking = std::any_cast<Own&>(request.m_own).m_checking;
    if (checking != nullptr && !checking->IsDone()) {
        checking->Then([ticket = takeTicket()] { ticket(Again{}); });
        return Waits{};
    }
    Own own = std::any_cast<Own>(std::move(request.m_own));
    request.m_own = std::move(own.m_service);
    if (checking != nullptr) {
        const Visitor visitor = checking->Result();
        Admit(request, visitor);
        SetVisitor(request, visitor);
        if (request.m_sink) request.m_sink = static_cast<CheckedSink&>(*request.m_sink).Take();
    }
    Outcome outcome = ServiceOf(request).Handle(request, takeTicket);
    if (auto* streams = std::get_if<Streams>(&outcome)) Guard(*streams, request, std::move(own.m_accounts));
    return outcome;
}

void Door::Guard(Streams& streams, const Request& request, std::shared_ptr<const AccountFile> accounts) const {
    const auto visitor = VisitorOf(request);
    const Grant* const grant = GrantFor(request.m_method, request.m_path);
    if (!visitor || grant == nullptr) return;
    streams.m_stream = std::make_unique<GuardedStream>(std::move(streams.m_stream), m_logins, std::move(accounts),
                                                       visitor->m_name, *grant);
}

Reply Door::ErrorReply(const Request& request, const Refusal& refusal) {
    return ServiceOf(request).ErrorReply(request, refusal);
}

void Door::Finish(const Request& request, Reply& reply) {
    ServiceOf(request).Finish(request, reply);
    const auto usual = [&reply](const char* name, const char* value) {
        const bool has = std::any_of(reply.m_headers.begin(), reply.m_headers.end(),
                                     [&](const auto& header) { return header.first == name; });
        if (!has) reply.m_headers.emplace_back(name, value);
    };
    usual("X-Content-Type-Options", "nosniff");
    usual("Referrer-Policy", "no-referrer");
    usual("Cache-Control", "no-store");
    usual("Content-Security-Policy", "default-src 'none'; frame-ancestors 'none'");
}

} // namespace bmhost
