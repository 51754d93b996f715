// A small service behind the real server, at a Unix socket, a TCP port and one with TLS.
#pragma once

#include "Client.h"

#include "bm_dev/UniqueFd.h"
#include "host/http/Server.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Its errors are lines of text. On the server's thread, except for what says otherwise.
class SmallService : public bmhost::HttpService {
public:
    bmhost::BodyPlan Begin(bmhost::Request& request, std::optional<uint64_t> length) override;
    bmhost::Outcome Handle(bmhost::Request& request, const bmhost::TakeTicket& takeTicket) override;
    bmhost::Reply ErrorReply(const bmhost::Request& request, const bmhost::Refusal& refusal) override;
    void Finish(const bmhost::Request& request, bmhost::Reply& reply) override;

    /// What GET /late and GET /stream-later have taken; waits until there are that many. On any thread.
    std::vector<bmhost::Ticket> Tickets(std::size_t count);
    /// On any thread.
    void ForgetTickets();
    /// What the streams have to say next. On any thread.
    void Say(const std::string& text);

    /// How many bytes the streams of GET /endless have given. On any thread.
    uint64_t MadeOfEndless() const { return m_madeOfEndless; }

    /// What POST /reload does. On any thread.
    void OnReload(std::function<void()> reload);

private:
    class Speech;
    class Endless;

    void Reload();

    std::atomic<uint64_t> m_madeOfEndless{0};
    std::mutex m_mutex; ///< protects what follows
    std::condition_variable m_came;
    std::vector<bmhost::Ticket> m_tickets;
    std::string m_said;
    std::function<void()> m_reload;
};

class ServedService {
public:
    static constexpr std::size_t Unix = 0;
    static constexpr std::size_t Tcp = 1;
    static constexpr std::size_t Secure = 2;

    explicit ServedService(const bmhost::HttpLimits& limits = {});
    ~ServedService();
    ServedService(const ServedService&) = delete;
    ServedService& operator=(const ServedService&) = delete;

    SmallService& Service() { return m_service; }
    bmhost::HttpServer& Server() { return *m_server; }
    const std::string& Socket() const { return m_socket; }
    uint16_t Port(std::size_t listener) const;
    /// POST /reload gives the server this one.
    void ReloadWith(bmhost::Tls tls);
    void Stop();

private:
    SmallService m_service;
    std::string m_folder;
    std::string m_socket;
    std::array<bm_dev::UniqueFd, 3> m_listening;
    std::unique_ptr<bmhost::HttpServer> m_server;
    std::thread m_thread;
};

/// A socket that listens at a port of its own choice of this machine.
bm_dev::UniqueFd ListenAtPort();
