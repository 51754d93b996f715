// What the Redfish tree is made of: the blade as it was last heard, and what the web door itself has.
#pragma once

#include "host/output/Time.h"
#include "host/web/BladeView.h"

#include <cstdint>
#include <string>
#include <vector>

namespace bmhost {

struct RoleFacts {
    std::string m_name;                    ///< "Operator"
    std::vector<std::string> m_privileges; ///< "Login" …
};

struct AccountFacts {
    std::string m_name;
    std::string m_role; ///< one of the roles' names
    bool m_locked = false;
};

struct SessionFacts {
    std::string m_id; ///< not its token
    std::string m_account;
    std::string m_address; ///< of the client; empty: not known
    WallTime m_created{};
};

/// An open stream of events.
struct SubscriptionFacts {
    std::string m_id;
    std::string m_account; ///< empty on plain loopback
    std::string m_address;
};

struct TreeFacts {
    const BladeView& m_view;
    WallTime m_now{};
    std::string m_uuid{};    ///< of the service, made once and kept
    std::string m_version{}; ///< of the web door
    uint64_t m_mostImageBytes = 0;
    int64_t m_sessionSeconds = 1800; ///< until an idle session ends
    std::vector<RoleFacts> m_roles{};
    std::vector<AccountFacts> m_accounts{};
    std::vector<SessionFacts> m_sessions{};
    std::vector<SubscriptionFacts> m_subscriptions{};
};

} // namespace bmhost
