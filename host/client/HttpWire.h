// HTTP/1.1 as the resident host speaks it: requests as bytes, and answers from bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace bmhost {

/// No answer is longer, nor any one event.
constexpr std::size_t LongestAnswer = std::size_t{16} * 1024 * 1024;

struct HttpRequest {
    std::string m_method; ///< "GET", "POST"
    std::string m_path;
    std::string m_type;                ///< of the body; empty: there is none
    uint64_t m_size = 0;               ///< of the body
    std::optional<uint64_t> m_after{}; ///< the last event that is known already
    std::string m_account{};           ///< for whom a door asks; empty: nobody
    std::string m_host = "localhost";
    std::string m_authorization{}; ///< at the door of a blade elsewhere

    /// "GET /v1/blade".
    std::string Name() const { return m_method + " " + m_path; }
};

/// The request without its body.
std::string RequestHead(const HttpRequest& request);

/// What came cannot be an answer; the text says what it is: "what is no HTTP answer: bad version".
class NoAnswer : public std::runtime_error {
    using std::runtime_error::runtime_error;
};
/// The connection ended within an answer.
class HalfAnswer : public std::runtime_error {
public:
    HalfAnswer() : std::runtime_error("half an answer") {}
};

/// One answer, from pieces that may be cut anywhere.
class HttpAnswer {
public:
    /// @param body   called with each piece of the body
    /// @param bound  the body's, or none
    HttpAnswer(std::function<void(std::string_view)> body, std::optional<uint64_t> bound);
    HttpAnswer(const HttpAnswer&) = delete;
    HttpAnswer& operator=(const HttpAnswer&) = delete;
    ~HttpAnswer();

    /// Throws NoAnswer.
    void Take(std::string_view bytes);
    /// The connection has ended. Throws HalfAnswer when something is missing.
    void End();

    bool HasBegun() const;
    bool HasHead() const;
    bool IsWhole() const;
    unsigned Status() const;
    /// Whether the connection may be used again.
    bool KeepsAlive() const;

private:
    class Parser;

    std::unique_ptr<Parser> m_parser;
    std::string m_waiting;
    bool m_begun = false;
};

} // namespace bmhost
