// One request of one connection, from its headers to the end of its answer.
#pragma once

#include "host/http/Connections.h"
#include "host/http/Limits.h"
#include "host/http/Mailbox.h"
#include "host/http/Service.h"

#include <microhttpd.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace bmhost {

/// What all exchanges of a server share; all on its thread.
struct Exchanges {
    HttpService& m_service;
    const HttpLimits& m_limits;
    Connections& m_connections;
    Mailbox& m_mailbox;
    uint64_t m_lastId = 0;
    unsigned m_streams = 0;
    bool m_ending = false;
};

class Exchange {
public:
    Exchange(Exchanges& all, Connection& connection, std::string_view path, std::string_view method);
    ~Exchange();
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    /// The library's call: for the headers, for each piece of the body (which is taken whole), and for the answer.
    MHD_Result Step(std::string_view body);

    uint64_t Id() const { return m_id; }
    /// The service's answer; ignored unless it is waited for.
    void Deliver(Settled answer);
    /// The client has gone: nothing is sent any more.
    void GiveUp();
    /// The server ends: what waits is answered now.
    void EndNow();
    /// Lets a stream look for news.
    void WakeStream();
    /// When a stream has to be woken at the latest.
    std::optional<std::chrono::steady_clock::time_point> NextComment() const;

private:
    enum class Phase { Begin, Body, Waiting, Answering };

    MHD_Result TakeHeaders();
    void CheckHeaders(std::optional<uint64_t> length);
    void TakeBody(std::string_view piece);
    MHD_Result CarryOut();
    Outcome Handled();
    /// @param ends  whether the connection ends with it
    MHD_Result Send(const Settled& answer, bool ends = false);
    MHD_Result Queue(MHD_Response* response, const Reply& reply);
    MHD_Result BeginStream(std::unique_ptr<Stream> stream);
    ssize_t ReadStream(char* to, std::size_t most);
    static ssize_t OnRead(void* exchange, uint64_t position, char* to, std::size_t most);

    const HttpLimits& Limits() const { return m_all.m_limits; }

    Exchanges& m_all;
    Connection& m_connection;
    const uint64_t m_id;
    Phase m_phase = Phase::Begin;
    bool m_gone = false;
    Request m_request;
    std::optional<Settled> m_answer; ///< as soon as it is known; never Again
    bool m_again = false;            ///< the service is to be asked once more
    std::unique_ptr<Stream> m_stream;
    /// By then a body for a sink has come.
    std::optional<std::chrono::steady_clock::time_point> m_bodyEnd;
};

} // namespace bmhost
