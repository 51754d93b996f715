// The web door behind the real server, at a plain port of loopback and at one with TLS, before a scripted host.
#pragma once

#include "ScriptedBlade.h"
#include "ServedService.h"
#include "TlsClient.h"

#include "host/http/Server.h"
#include "host/web/ApiDoor.h"
#include "host/web/Door.h"

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

/// Says who asks; takes images at PUT-like posts, and streams.
class AskedService : public bmhost::HttpService {
public:
    bmhost::BodyPlan Begin(bmhost::Request& request, std::optional<uint64_t> length) override;
    bmhost::Outcome Handle(bmhost::Request& request, const bmhost::TakeTicket& takeTicket) override;
    bmhost::Reply ErrorReply(const bmhost::Request& request, const bmhost::Refusal& refusal) override;
};

/// The accounts reader, operator and admin.
bmhost::AccountFile ThreeAccounts();

/// Accounts reader, operator and admin, each of whose password is its name and "word".
class ServedDoor {
public:
    explicit ServedDoor(const bmhost::ForwarderLimits& orders = {});
    ~ServedDoor();
    ServedDoor(const ServedDoor&) = delete;
    ServedDoor& operator=(const ServedDoor&) = delete;

    ScriptedBlade& Blade() { return m_blade; }
    bmhost::Logins& Logins() { return m_logins; }
    /// As on SIGHUP.
    void SetAccounts(bmhost::AccountFile accounts);
    uint16_t Plain() const { return m_ports.at(0); }
    uint16_t Secure() const { return m_ports.at(1); }
    int Compared() const { return *m_compared; }
    /// No password is compared while this is locked.
    std::mutex& Comparing() { return *m_comparing; }

private:
    ScriptedBlade m_blade;
    std::shared_ptr<std::atomic<int>> m_compared;
    std::shared_ptr<std::mutex> m_comparing;
    bmhost::BladeMirror m_mirror;
    bmhost::Forwarder m_orders;
    bmhost::Forwarder m_looks;
    bmhost::Logins m_logins;
    bmhost::ApiDoor m_api;
    AskedService m_asked;
    std::array<bm_dev::UniqueFd, 2> m_listening;
    std::vector<uint16_t> m_ports;
    bmhost::Door m_door;
    std::unique_ptr<bmhost::HttpServer> m_server;
    std::thread m_thread;
};

/// A header line with name and password: "Authorization: Basic …\r\n".
std::string Basic(const std::string& name, const std::string& password);
