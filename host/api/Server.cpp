// The resident host's socket: HTTP/1.1 with JSON.
#include "host/api/Server.h"

#include "host/api/ApiService.h"
#include "host/http/Server.h"

namespace bmhost {

class ApiServer::Parts {
public:
    Parts(int listeningSocket, ResidentHost& host, const ApiLimits& limits, MakeUploadSink makeSink)
        : m_host(host),
          m_service(host, limits, std::move(makeSink)),
          m_server({{listeningSocket}}, m_service, limits) {
        m_host.OnNews([this] { m_server.WakeStreams(); });
    }
    ~Parts() { m_host.OnNews(nullptr); }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    HttpServer& Server() { return m_server; }

private:
    ResidentHost& m_host;
    ApiService m_service;
    HttpServer m_server;
};

ApiServer::ApiServer(int listeningSocket, ResidentHost& host, const ApiLimits& limits, MakeUploadSink makeSink)
    : m_parts(std::make_unique<Parts>(listeningSocket, host, limits, std::move(makeSink))) {}

ApiServer::~ApiServer() = default;

void ApiServer::Run(const std::function<void()>& eachTurn) {
    m_parts->Server().Run(eachTurn);
}

void ApiServer::Stop() {
    m_parts->Server().Stop();
}

} // namespace bmhost
