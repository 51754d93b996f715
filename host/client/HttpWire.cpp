// HTTP/1.1 as the resident host speaks it. The only file that knows Boost.Beast, which compiles slowly.
#include "host/client/HttpWire.h"

#include "host/client/AccountHeader.h"

#include <boost/beast/core/buffers_range.hpp>
#include <boost/beast/http/basic_parser.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/serializer.hpp>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace bmhost {

namespace beast = boost::beast;
namespace http = boost::beast::http;

std::string RequestHead(const HttpRequest& request) {
    // What a client elsewhere has written would be further headers, or another request.
    for (const std::string& text : {request.m_path, request.m_account}) {
        if (std::any_of(text.begin(), text.end(), [](unsigned char letter) { return letter < ' ' || letter == 0x7F; }))
            throw std::runtime_error("a request cannot be made: there is a control character in it");
    }
    constexpr unsigned version = 11;
    http::request<http::empty_body> message(http::string_to_verb(request.m_method), request.m_path, version);
    message.set(http::field::host, request.m_host);
    message.set(http::field::user_agent, "bmhost");
    if (request.m_after) {
        message.set(http::field::accept, "text/event-stream");
        message.set("Last-Event-ID", std::to_string(*request.m_after));
    }
    if (!request.m_authorization.empty()) message.set(http::field::authorization, request.m_authorization);
    if (!request.m_account.empty()) message.set(AccountHeader, request.m_account);
    if (!request.m_type.empty()) {
        message.set(http::field::content_type, request.m_type);
        message.content_length(request.m_size);
    }
    std::string text;
    http::request_serializer<http::empty_body> serializer(message);
    beast::error_code error;
    while (!serializer.is_done() && !error) {
        serializer.next(error, [&](beast::error_code&, const auto& buffers) {
            for (const auto buffer : beast::buffers_range_ref(buffers))
                text.append(static_cast<const char*>(buffer.data()), buffer.size());
            serializer.consume(beast::buffer_bytes(buffers));
        });
    }
    if (error) throw std::runtime_error("a request cannot be made: " + error.message());
    return text;
}

class HttpAnswer::Parser final : public http::basic_parser<false> {
public:
    explicit Parser(std::function<void(std::string_view)> body) : m_body(std::move(body)) {}

    unsigned Status() const { return m_status; }

private:
    using Text = beast::string_view;
    using Length = boost::optional<std::uint64_t>;
    using Error = beast::error_code;

    void Pass(Text piece) { m_body(std::string_view(piece.data(), piece.size())); }

    void on_request_impl(http::verb, Text, Text, int, Error&) override {}
    void on_response_impl(int code, Text, int, Error&) override { m_status = static_cast<unsigned>(code); }
    void on_field_impl(http::field, Text, Text, Error&) override {}
    void on_header_impl(Error&) override {}
    void on_body_init_impl(const Length&, Error&) override {}
    std::size_t on_body_impl(Text piece, Error&) override {
        Pass(piece);
        return piece.size();
    }
    void on_chunk_header_impl(std::uint64_t, Text, Error&) override {}
    std::size_t on_chunk_body_impl(std::uint64_t, Text piece, Error&) override {
        Pass(piece);
        return piece.size();
    }
    void on_finish_impl(Error&) override {}

    std::function<void(std::string_view)> m_body;
    unsigned m_status = 0;
};

HttpAnswer::HttpAnswer(std::function<void(std::string_view)> body, std::optional<uint64_t> bound)
    : m_parser(std::make_unique<Parser>(std::move(body))) {
    constexpr std::uint32_t longestHead = 64 * 1024;
    m_parser->eager(true);
    m_parser->header_limit(longestHead);
    m_parser->body_limit(bound.value_or(std::numeric_limits<uint64_t>::max()));
}

HttpAnswer::~HttpAnswer() = default;

void HttpAnswer::Take(std::string_view bytes) {
    m_waiting += bytes;
    m_begun = m_begun || !bytes.empty();
    while (!m_waiting.empty() && !m_parser->is_done()) {
        beast::error_code error;
        const std::size_t taken = m_parser->put(boost::asio::buffer(m_waiting), error);
        m_waiting.erase(0, taken);
        if (error == http::error::need_more) return;
        if (error == http::error::body_limit) throw NoAnswer("an answer that is too long");
        if (error) throw NoAnswer("what is no HTTP answer: " + error.message());
    }
    if (!m_waiting.empty()) throw NoAnswer("more than it was asked for");
}

void HttpAnswer::End() {
    beast::error_code error;
    if (m_begun && !m_parser->is_done()) m_parser->put_eof(error);
    if (error || !m_parser->is_done()) throw HalfAnswer();
}

bool HttpAnswer::HasBegun() const {
    return m_begun;
}

bool HttpAnswer::HasHead() const {
    return m_parser->is_header_done();
}

bool HttpAnswer::IsWhole() const {
    return m_parser->is_done();
}

unsigned HttpAnswer::Status() const {
    return m_parser->Status();
}

bool HttpAnswer::KeepsAlive() const {
    return m_parser->is_done() && m_parser->keep_alive();
}

} // namespace bmhost
