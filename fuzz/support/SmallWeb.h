// The whole web door on one thread: everything behind the HTTP library, down to the resident host's own API.
#pragma once

#include "support/AskService.h"
#include "support/ScriptedResident.h"

#include "host/web/ApiDoor.h"
#include "host/web/BladeMirror.h"
#include "host/web/Door.h"
#include "host/web/Forwarder.h"
#include "host/web/Logins.h"
#include "host/web/page/PageService.h"
#include "host/web/serve/MetricsDoor.h"
#include "host/web/serve/RedfishDoor.h"

#include <memory>
#include <string>

namespace fuzzing {

/// Its accounts are reader, operator and admin.
class SmallWeb {
public:
    struct Options {
        unsigned m_blade = 0;
        bool m_reachable = true;
        ScriptedResident::Answers m_answers = ScriptedResident::Answers::Good;
        std::string m_wordEnd = "word"; ///< a password is the account's name and this
    };

    explicit SmallWeb(const Options& options);
    ~SmallWeb();
    SmallWeb(const SmallWeb&) = delete;
    SmallWeb& operator=(const SmallWeb&) = delete;

    /// Listener 0 is plain on loopback, 1 has TLS and is asked from elsewhere.
    Asked Ask(HttpText& text, std::size_t listener, std::size_t piece = 1024);

    ScriptedResident& Resident() { return m_resident; }
    bmhost::Sessions& OpenSessions() { return m_logins.OpenSessions(); }
    std::string TokenOf(const std::string& account);

    /// From where listener 1 is asked.
    static constexpr const char* Elsewhere = "192.0.2.9";

private:
    void Turn();

    ScriptedResident m_resident;
    bmhost::ApiService m_host;
    std::unique_ptr<bmhost::BladeMirror> m_mirror;
    bmhost::Forwarder m_orders;
    bmhost::Forwarder m_looks;
    bmhost::Logins m_logins;
    bmhost::ApiDoor m_api;
    bmhost::MetricsDoor m_metrics;
    bmhost::RedfishDoor m_redfish;
    bmhost::Door m_door;
};

} // namespace fuzzing
