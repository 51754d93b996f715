// Redfish and the metrics behind the real door and server, before a scripted host.
#pragma once

#include "../ScriptedBlade.h"
#include "Client.h"
#include "ServedService.h"
#include "TlsClient.h"

#include "host/web/ApiDoor.h"
#include "host/web/Door.h"
#include "host/web/serve/MetricsDoor.h"
#include "host/web/serve/RedfishDoor.h"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <thread>

/// Accounts reader, operator and admin, each of whose password is its name and "word". The host's picture is a small
/// blade's.
class ServedRedfish {
public:
    ServedRedfish();
    ~ServedRedfish();
    ServedRedfish(const ServedRedfish&) = delete;
    ServedRedfish& operator=(const ServedRedfish&) = delete;

    ScriptedBlade& Blade() { return m_blade; }
    bmhost::BladeMirror& Mirror() { return m_mirror; }
    uint16_t Plain() const { return m_ports.at(0); }
    uint16_t Secure() const { return m_ports.at(1); }

    /// On a connection of its own, on plain loopback or with TLS.
    HttpAnswer Ask(const std::string& method, const std::string& path, const std::string& headers = "",
                   const std::string& body = "", const std::string& type = "application/json") const;
    HttpAnswer AskSecure(const std::string& method, const std::string& path, const std::string& headers = "",
                         const std::string& body = "") const;
    /// As "operator".
    HttpAnswer Order(const std::string& method, const std::string& path, const std::string& body,
                     const std::string& type = "application/json") const;
    /// A header line with the token of a new session of this account's.
    std::string TokenOf(const std::string& account);

private:
    ScriptedBlade m_blade;
    bmhost::BladeMirror m_mirror;
    bmhost::Forwarder m_orders;
    bmhost::Forwarder m_looks;
    bmhost::Logins m_logins;
    bmhost::ApiDoor m_api;
    bmhost::MetricsDoor m_metrics;
    bmhost::RedfishDoor m_redfish;
    std::array<bm_dev::UniqueFd, 2> m_listening;
    std::array<uint16_t, 2> m_ports;
    bmhost::Door m_door;
    std::unique_ptr<bmhost::HttpServer> m_server;
    std::thread m_thread;
};

/// Whether this becomes true within half a minute.
bool Comes(const std::function<bool()>& condition);
/// What an order that was carried out is answered.
std::string GoodOutcome(const std::string& order, int result);
/// Of an error: the MessageIds without their registry, with blanks between.
std::string MessagesIn(const HttpAnswer& answer);
