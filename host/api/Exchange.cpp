// One request of one connection, from its headers to the end of its answer.
#include "host/api/Exchange.h"

#include "host/api/Asks.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <exception>

namespace bmhost {

namespace {

constexpr std::size_t StreamBlock = 16 * 1024;

using Parameters = std::vector<std::pair<std::string, std::string>>;

MHD_Result AddParameter(void* parameters, MHD_ValueKind /*kind*/, const char* name, std::size_t nameSize,
                        const char* value, std::size_t valueSize) {
    try {
        static_cast<Parameters*>(parameters)
            ->emplace_back(std::string(name, nameSize),
                           value != nullptr ? std::string(value, valueSize) : std::string());
    } catch (const std::exception&) {
        return MHD_NO;
    }
    return MHD_YES;
}

void FreeBody(void* body) {
    delete static_cast<std::shared_ptr<const std::string>*>(body);
}

MHD_Response* ResponseOf(const Reply& reply) {
    if (!reply.m_body) return MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT);
    auto kept = std::make_unique<std::shared_ptr<const std::string>>(reply.m_body);
    // The library only reads it.
    auto* bytes = const_cast<char*>(reply.m_body->data());
    MHD_Response* response =
        MHD_create_response_from_buffer_with_free_callback_cls(reply.m_body->size(), bytes, FreeBody, kept.get());
    if (response == nullptr) return nullptr;
    static_cast<void>(kept.release());
    MHD_add_response_header(response, "Content-Type", "application/json");
    return response;
}

// The media type without its parameters, in lower case.
std::string MediaType(const std::string& contentType) {
    std::string type = contentType.substr(0, contentType.find(';'));
    while (!type.empty() && type.back() == ' ')
        type.pop_back();
    std::transform(type.begin(), type.end(), type.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return type;
}

void CheckMediaType(const Request& request, const std::string& expected) {
    if (MediaType(request.m_contentType) != expected)
        throw Refusal(415, request.m_contentType, "expected the content type " + expected);
}

} // namespace

Exchange::Exchange(Exchanges& all, Connection& connection, std::string_view path, std::string_view method)
    : m_all(all),
      m_connection(connection),
      m_id(++all.m_lastId) {
    m_request.m_path = path;
    m_request.m_method = method;
    m_request.m_asker = connection.m_asker;
    connection.m_exchange = this;
}

Exchange::~Exchange() {
    m_connection.m_exchange = nullptr;
    if (m_stream) --m_all.m_streams;
}

const char* Exchange::Header(const char* name) const {
    const char* value = MHD_lookup_connection_value(m_connection.m_handle, MHD_HEADER_KIND, name);
    return value != nullptr ? value : "";
}

MHD_Result Exchange::Step(std::string_view body) {
    switch (m_phase) {
    case Phase::Begin:
        return TakeHeaders();
    case Phase::Body:
        if (body.empty()) return CarryOut();
        TakeBody(body);
        return MHD_YES;
    case Phase::Waiting:
        if (m_gone) return MHD_NO;
        if (m_reply) return Send(*m_reply);
        m_all.m_connections.Suspend(m_connection);
        return MHD_YES;
    case Phase::Answering:
        break;
    }
    return MHD_NO;
}

MHD_Result Exchange::TakeHeaders() {
    m_phase = Phase::Body;
    m_imageEnd = std::chrono::steady_clock::now() + Limits().m_imageTime;
    m_request.m_contentType = Header("Content-Type");
    m_request.m_ifNoneMatch = Header("If-None-Match");
    m_request.m_lastEventId = Header("Last-Event-ID");
    const std::string_view lengthText = Header("Content-Length");
    std::optional<uint64_t> length;
    uint64_t number = 0;
    if (std::from_chars(lengthText.data(), lengthText.data() + lengthText.size(), number).ec == std::errc())
        length = number;
    const bool chunked = *Header("Transfer-Encoding") != '\0';
    try {
        if (chunked) throw Refusal(411, "Transfer-Encoding", "a body needs its Content-Length");
        CheckHeaders(length);
    } catch (const Refusal& refusal) {
        m_reply = ErrorReply(m_request, refusal);
    } catch (const std::exception& error) {
        m_reply = ErrorReply(m_request, Refusal(500, "", error.what()));
    }
    if (!m_reply) return MHD_YES;
    // A small body is read to its end, so that the connection can be used further; a large one is not waited for.
    if (!chunked && length.value_or(0) <= Limits().m_bodySize) return MHD_YES;
    m_reply->m_headers.emplace_back("Connection", "close");
    return Send(*m_reply);
}

void Exchange::CheckHeaders(std::optional<uint64_t> length) {
    if (m_all.m_ending) throw Refusal(503, "", "the host ends");
    if (m_all.m_connections.IsExcess(m_connection))
        throw Refusal(503, "", "too many connections", {{"Retry-After", "1"}, {"Connection", "close"}});
    Parameters parameters;
    MHD_get_connection_values_n(m_connection.m_handle, MHD_GET_ARGUMENT_KIND, AddParameter, &parameters);
    for (auto& [name, value] : parameters) {
        if (!m_request.m_query.emplace(name, std::move(value)).second)
            throw Refusal(400, name, "the parameter stands twice");
    }
    m_route = &FindRoute(m_request);
    const std::string bytes = std::to_string(length.value_or(0)) + " bytes";
    switch (m_route->m_body) {
    case Body::None:
        if (length.value_or(0) > 0) throw Refusal(400, bytes, "this request takes no body");
        return;
    case Body::Json:
        if (length.value_or(0) > Limits().m_bodySize)
            throw Refusal(413, bytes, "a body may have " + std::to_string(Limits().m_bodySize) + " bytes");
        if (length.value_or(0) > 0) CheckMediaType(m_request, "application/json");
        return;
    case Body::Image:
        break;
    }
    if (!length) throw Refusal(411, "Content-Length", "the image's size is needed before it comes");
    CheckMediaType(m_request, "application/octet-stream");
    BeginImage(m_all.m_api, m_request, *length);
}

void Exchange::TakeBody(std::string_view piece) {
    if (m_route != nullptr && m_route->m_body == Body::Image) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(m_imageEnd - std::chrono::steady_clock::now());
        Connections::SetDeadline(m_connection, std::min(Limits().m_idleTime, left));
    }
    if (m_reply) return; // the request is refused already
    if (!m_request.m_image) {
        m_request.m_body += piece;
        return;
    }
    try {
        m_request.m_image->Write(piece.data(), piece.size());
    } catch (const std::exception& error) {
        m_request.m_image.reset();
        m_reply = ErrorReply(m_request, Refusal(507, Header("Content-Length"), error.what()));
    }
}

MHD_Result Exchange::CarryOut() {
    m_connection.m_deadline.reset();
    if (m_reply) return Send(*m_reply);
    Outcome outcome;
    try {
        outcome = Handled();
    } catch (const Refusal& refusal) {
        outcome = ErrorReply(m_request, refusal);
    } catch (const std::exception& error) {
        outcome = ErrorReply(m_request, Refusal(500, "", error.what()));
    }
    if (const auto* reply = std::get_if<Reply>(&outcome)) return Send(*reply);
    if (const auto* streams = std::get_if<Streams>(&outcome)) return BeginStream(streams->m_after);
    m_phase = Phase::Waiting;
    m_all.m_connections.Suspend(m_connection);
    return MHD_YES;
}

Outcome Exchange::Handled() {
    if (m_route->m_body == Body::None) {
        Outcome outcome = m_route->m_handler(m_all.m_api, m_request, nullptr);
        if (std::holds_alternative<Streams>(outcome) && m_all.m_streams >= Limits().m_eventReaders)
            throw Refusal(503, "", "too many readers of events", {{"Retry-After", "1"}});
        return outcome;
    }
    if (m_all.m_mailbox.Outstanding() >= Limits().m_asked)
        throw Refusal(503, "", "too many calls wait for their answers", {{"Retry-After", "1"}});
    return m_route->m_handler(m_all.m_api, m_request, m_all.m_mailbox.TicketFor(m_id));
}

MHD_Result Exchange::Send(const Reply& reply) {
    m_phase = Phase::Answering;
    MHD_Response* response = ResponseOf(reply);
    if (response == nullptr) return MHD_NO;
    for (const auto& [name, value] : reply.m_headers)
        MHD_add_response_header(response, name.c_str(), value.c_str());
    if (m_all.m_ending) MHD_add_response_header(response, "Connection", "close");
    Connections::SetDeadline(m_connection, Limits().m_answerTime);
    const MHD_Result result = MHD_queue_response(m_connection.m_handle, reply.m_status, response);
    MHD_destroy_response(response);
    return result;
}

MHD_Result Exchange::BeginStream(std::optional<uint64_t> after) {
    m_phase = Phase::Answering;
    MHD_Response* response = MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, StreamBlock, OnRead, this, nullptr);
    if (response == nullptr) return MHD_NO;
    m_stream.emplace(m_all.m_api.m_host, after, Limits().m_commentTime);
    ++m_all.m_streams;
    MHD_add_response_header(response, "Content-Type", "text/event-stream");
    MHD_add_response_header(response, "Cache-Control", "no-store");
    MHD_add_response_header(response, "Connection", "close");
    Connections::SetDeadline(m_connection, Limits().m_answerTime);
    const MHD_Result result = MHD_queue_response(m_connection.m_handle, MHD_HTTP_OK, response);
    MHD_destroy_response(response);
    return result;
}

ssize_t Exchange::OnRead(void* exchange, uint64_t /*position*/, char* to, std::size_t most) {
    try {
        return static_cast<Exchange*>(exchange)->ReadStream(to, most);
    } catch (const std::exception&) {
        return MHD_CONTENT_READER_END_WITH_ERROR;
    }
}

ssize_t Exchange::ReadStream(char* to, std::size_t most) {
    if (m_gone) return MHD_CONTENT_READER_END_WITH_ERROR;
    const std::size_t size = m_stream->Next(to, most);
    if (size > 0) {
        Connections::SetDeadline(m_connection, Limits().m_answerTime);
        return static_cast<ssize_t>(size);
    }
    if (m_stream->HasEnded()) return MHD_CONTENT_READER_END_OF_STREAM;
    m_all.m_connections.Suspend(m_connection);
    return 0;
}

void Exchange::Deliver(const Answer& answer) {
    if (m_phase != Phase::Waiting || m_reply) return;
    if (answer.m_body.is_null()) {
        m_reply = ErrorReply(m_request, Refusal(answer.m_status, "", "the host has dropped this without an answer"));
    } else {
        m_reply = JsonReply(answer.m_status, answer.m_body);
    }
    m_all.m_connections.Resume(m_connection);
}

void Exchange::GiveUp() {
    m_gone = true;
    m_all.m_connections.Resume(m_connection);
}

void Exchange::EndNow() {
    if (m_stream) m_stream->End();
    if (m_phase == Phase::Waiting && !m_reply)
        m_reply = ErrorReply(m_request, Refusal(503, "", "the host ends; what was asked may still be carried out"));
    m_all.m_connections.Resume(m_connection);
}

void Exchange::WakeStream() {
    if (m_stream) m_all.m_connections.Resume(m_connection);
}

std::optional<std::chrono::steady_clock::time_point> Exchange::NextComment() const {
    if (!m_stream || !m_connection.m_suspended) return std::nullopt;
    return m_stream->NextComment();
}

} // namespace bmhost
