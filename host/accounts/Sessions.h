// The sessions of the web door: who has logged in, known by a token.
#pragma once

#include "host/output/Time.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

/// What others may know of a session: all but its token. The role is the account's at the time of each request.
struct WebSession {
    uint64_t m_id = 0; ///< never used again
    std::string m_account;
    std::string m_address; ///< from where it was opened
    WallTime m_created{};
};

struct SessionLimits {
    std::chrono::milliseconds m_idle{1'800'000}; ///< without a request for so long, it has ended
    std::size_t m_most = 64;
    std::size_t m_mostOfAccount = 16; ///< so that one account cannot keep the others out
};

struct SessionClocks {
    std::function<std::chrono::steady_clock::time_point()> m_steady = std::chrono::steady_clock::now;
    std::function<WallTime()> m_wall = WallNow;
};

/// Kept in memory only: with the program all sessions end. Any thread, several at once.
class Sessions {
public:
    using Clocks = SessionClocks;

    explicit Sessions(const SessionLimits& limits = {}, Clocks clocks = {})
        : m_limits(limits),
          m_clocks(std::move(clocks)) {}

    struct Opened {
        WebSession m_session;
        std::string m_token; ///< 32 random bytes as 43 letters of base64url; nobody is told it again
    };

    const SessionLimits& Limits() const { return m_limits; }

    /// Nothing when there are as many as there may be: none that somebody uses has to go for it.
    std::optional<Opened> Open(const std::string& account, const std::string& address);
    /// Whose token it is; the session is used by that, and lasts on. How long it takes tells nothing of the token.
    std::optional<WebSession> Use(std::string_view token);
    /// In the order in which they were opened.
    std::vector<WebSession> List();
    std::optional<WebSession> Find(uint64_t id);
    /// False if there is none.
    bool Close(uint64_t id);
    /// For an account that is gone, or has got another password.
    void CloseAllOf(std::string_view account);

private:
    struct Row {
        WebSession m_session;
        std::string m_token;
        std::chrono::steady_clock::time_point m_used;
    };

    void EndIdle(std::chrono::steady_clock::time_point now);

    const SessionLimits m_limits;
    const Clocks m_clocks;
    std::mutex m_guard; // of what follows
    std::vector<Row> m_rows;
    uint64_t m_lastId = 0;
};

} // namespace bmhost
