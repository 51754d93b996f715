// One request of one connection, from its headers to the end of its answer.
#include "host/http/Exchange.h"

#include "bm_dev/Reason.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <utility>

namespace bmhost {

namespace {

constexpr std::size_t StreamBlock = 16 * 1024;

MHD_Result AddValue(void* values, MHD_ValueKind /*kind*/, const char* name, std::size_t nameSize, const char* value,
                    std::size_t valueSize) {
    try {
        static_cast<Headers*>(values)->emplace_back(std::string(name, nameSize),
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
    MHD_add_response_header(response, "Content-Type", reply.m_contentType.c_str());
    return response;
}

Headers ValuesOf(MHD_Connection* handle, MHD_ValueKind kind) {
    Headers values;
    MHD_get_connection_values_n(handle, kind, AddValue, &values);
    return values;
}

std::optional<uint64_t> LengthOf(const Request& request) {
    const std::string_view text = request.Header("Content-Length");
    uint64_t number = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc()) return std::nullopt;
    return number;
}

} // namespace

Exchange::Exchange(Exchanges& all, Connection& connection, std::string_view path, std::string_view method)
    : m_all(all),
      m_connection(connection),
      m_id(++all.m_lastId) {
    m_request.m_path = path;
    m_request.m_method = method;
    m_request.m_peer = connection.m_peer;
    connection.m_exchange = this;
}

Exchange::~Exchange() {
    m_connection.m_exchange = nullptr;
    if (m_stream) --m_all.m_streams;
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
        if (m_answer) return Send(*m_answer);
        if (std::exchange(m_again, false)) return CarryOut();
        m_all.m_connections.Suspend(m_connection);
        return MHD_YES;
    case Phase::Answering:
        break;
    }
    return MHD_NO;
}

MHD_Result Exchange::TakeHeaders() {
    m_phase = Phase::Body;
    m_request.m_headers = ValuesOf(m_connection.m_handle, MHD_HEADER_KIND);
    const std::optional<uint64_t> length = LengthOf(m_request);
    const bool chunked = !m_request.Header("Transfer-Encoding").empty();
    try {
        if (chunked) throw Refusal(411, "Transfer-Encoding", "a body needs its Content-Length");
        CheckHeaders(length);
    } catch (const Refusal& refusal) {
        m_answer = refusal;
    } catch (const std::exception& error) {
        m_answer = Refusal(500, "", bm_dev::ReasonOf(error));
    }
    if (!m_answer) return MHD_YES;
    // A small body is read to its end, so that the connection can be used further; a large one is not waited for.
    if (!chunked && length.value_or(0) <= Limits().m_bodySize) return MHD_YES;
    return Send(*m_answer, true);
}

void Exchange::CheckHeaders(std::optional<uint64_t> length) {
    if (m_all.m_ending) throw Refusal(503, "", "the host ends");
    if (m_all.m_connections.IsExcess(m_connection))
        throw Refusal(503, "", "too many connections", {{"Retry-After", "1"}, {"Connection", "close"}});
    for (auto& [name, value] : ValuesOf(m_connection.m_handle, MHD_GET_ARGUMENT_KIND)) {
        if (!m_request.m_query.emplace(name, std::move(value)).second)
            throw Refusal(400, name, "the parameter stands twice");
    }
    const auto came = std::chrono::steady_clock::now();
    BodyPlan plan = m_all.m_service.Begin(m_request, length);
    const std::string bytes = std::to_string(length.value_or(0)) + " bytes";
    if (!plan.m_taken && length.value_or(0) > 0) throw Refusal(400, bytes, "this request takes no body");
    if (length.value_or(0) > plan.m_most)
        throw Refusal(413, bytes, "a body may have " + std::to_string(plan.m_most) + " bytes");
    if (length.value_or(0) > 0 && !plan.m_mediaType.empty()) m_request.ExpectMediaType(plan.m_mediaType);
    m_request.m_sink = std::move(plan.m_sink);
    if (m_request.m_sink) m_bodyEnd = came + plan.m_time;
}

void Exchange::TakeBody(std::string_view piece) {
    if (m_bodyEnd) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(*m_bodyEnd - std::chrono::steady_clock::now());
        Connections::SetDeadline(m_connection, std::min(Limits().m_idleTime, left));
    }
    if (m_answer) return; // the request is refused already
    if (!m_request.m_sink) {
        m_request.m_body += piece;
        return;
    }
    try {
        m_request.m_sink->Write(piece.data(), piece.size());
    } catch (const std::exception& error) {
        m_request.m_sink.reset();
        m_answer = Refusal(507, std::string(m_request.Header("Content-Length")), error.what());
    }
}

MHD_Result Exchange::CarryOut() {
    m_connection.m_deadline.reset();
    if (m_answer) return Send(*m_answer);
    Outcome outcome;
    try {
        outcome = Handled();
    } catch (const Refusal& refusal) {
        return Send(refusal);
    } catch (const std::exception& error) {
        return Send(Refusal(500, "", bm_dev::ReasonOf(error)));
    }
    if (auto* reply = std::get_if<Reply>(&outcome)) return Send(std::move(*reply));
    if (auto* streams = std::get_if<Streams>(&outcome)) return BeginStream(std::move(streams->m_stream));
    m_phase = Phase::Waiting;
    m_all.m_connections.Suspend(m_connection);
    return MHD_YES;
}

Outcome Exchange::Handled() {
    bool taken = false;
    Outcome outcome = m_all.m_service.Handle(m_request, [&] {
        if (m_all.m_mailbox.Outstanding() >= Limits().m_asked)
            throw Refusal(503, "", "too many calls wait for their answers", {{"Retry-After", "1"}});
        taken = true;
        return m_all.m_mailbox.TicketFor(m_id);
    });
    if (std::holds_alternative<Waits>(outcome) && !taken) throw std::logic_error("nobody has a ticket to answer this");
    if (std::holds_alternative<Streams>(outcome) && m_all.m_streams >= Limits().m_eventReaders)
        throw Refusal(503, "", "too many readers of events", {{"Retry-After", "1"}});
    return outcome;
}

MHD_Result Exchange::Send(const Settled& answer, bool ends) {
    m_phase = Phase::Answering;
    const auto* refusal = std::get_if<Refusal>(&answer);
    Reply reply = refusal != nullptr ? m_all.m_service.ErrorReply(m_request, *refusal) : std::get<Reply>(answer);
    if (ends) reply.m_headers.emplace_back("Connection", "close");
    m_all.m_service.Finish(m_request, reply);
    return Queue(ResponseOf(reply), reply);
}

MHD_Result Exchange::Queue(MHD_Response* response, const Reply& reply) {
    if (response == nullptr) return MHD_NO;
    for (const auto& [name, value] : reply.m_headers)
        MHD_add_response_header(response, name.c_str(), value.c_str());
    if (m_all.m_ending) MHD_add_response_header(response, "Connection", "close");
    Connections::SetDeadline(m_connection, Limits().m_answerTime);
    const MHD_Result result = MHD_queue_response(m_connection.m_handle, reply.m_status, response);
    MHD_destroy_response(response);
    return result;
}

MHD_Result Exchange::BeginStream(std::unique_ptr<Stream> stream) {
    m_phase = Phase::Answering;
    Reply begin;
    begin.m_contentType = stream->ContentType();
    begin.m_headers = {{"Cache-Control", "no-store"}, {"Connection", "close"}};
    m_all.m_service.Finish(m_request, begin);
    m_stream = std::move(stream);
    ++m_all.m_streams;
    MHD_Response* response = MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, StreamBlock, OnRead, this, nullptr);
    if (response != nullptr) MHD_add_response_header(response, "Content-Type", begin.m_contentType.c_str());
    return Queue(response, begin);
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

void Exchange::Deliver(Settled answer) {
    if (m_phase != Phase::Waiting || m_answer || m_again) return;
    if (std::holds_alternative<Again>(answer)) {
        m_again = true;
    } else {
        m_answer = std::move(answer);
    }
    m_all.m_connections.Resume(m_connection);
}

void Exchange::GiveUp() {
    m_gone = true;
    m_all.m_connections.Resume(m_connection);
}

void Exchange::EndNow() {
    if (m_stream) m_stream->End();
    if (m_phase == Phase::Waiting && !m_answer)
        m_answer = Refusal(503, "", "the host ends; what was asked may still be carried out");
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
