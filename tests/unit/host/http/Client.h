// A client of the socket that sends what no library would, and reads byte by byte what it wants to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/types.h>

#include <nlohmann/json.hpp>

// Requests that tests send in their own way.
inline const std::string LookRequest = "GET /v1 HTTP/1.1\r\nHost: h\r\n\r\n";
inline const std::string StopRequest = "POST /v1/orders/stop HTTP/1.1\r\nHost: h\r\nContent-Length: 0\r\n\r\n";
inline const std::string EventsRequest = "GET /v1/events HTTP/1.1\r\nHost: h\r\n\r\n";

struct HttpAnswer {
    int m_status = 0;                             ///< 0: the connection ended without one
    std::map<std::string, std::string> m_headers; ///< names in lower case
    std::string m_body;

    nlohmann::json Json() const { return nlohmann::json::parse(m_body); }
    std::string Reason() const { return Json().at("error").at("reason"); }
};

/// One connection to a socket of the Unix domain or, with a port, of this machine. A wait that takes longer than half a
/// minute ends with a failure.
class Client {
public:
    explicit Client(const std::string& socket);
    /// @param from  the address that the server sees
    explicit Client(uint16_t port, const char* from = "127.0.0.1");
    virtual ~Client() { Close(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// Sends everything; false when the server has closed the connection.
    bool Send(std::string_view text) const;
    /// As much as goes without waiting.
    void SendWhatFits(std::string_view text) const;
    void FinishSending() const;
    HttpAnswer Get(const std::string& path, const std::string& headers = "") const;
    HttpAnswer Post(const std::string& path, const std::string& body,
                    const std::string& type = "application/json") const;
    /// @param head  the answer to HEAD, which has no body
    HttpAnswer Read(bool head = false) const;
    /// Reads until the text has come, and returns all up to its end; what came until the end when it does not come.
    std::string ReadUntil(std::string_view text) const;
    /// What comes until the server closes the connection.
    std::string ReadToEnd() const;
    /// Waits, without reading, until the server has closed the connection.
    bool IsDropped() const;
    void Close();

protected:
    virtual ssize_t Write(const char* bytes, std::size_t size) const;
    virtual ssize_t ReadByte(char& byte) const;

    int m_socket;

private:
    std::optional<char> Next() const;
    void Connect(const sockaddr& address, socklen_t size) const;
};
