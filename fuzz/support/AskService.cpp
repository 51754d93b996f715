// One request to a service, carried as the server carries it, without a socket; and what holds for every answer.
#include "support/AskService.h"

#include "support/Require.h"

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <optional>
#include <set>
#include <string_view>

namespace fuzzing {

using namespace bmhost;

namespace {

std::string Words(const Request& request, const std::string& what) {
    return request.Operation() + ": " + what;
}

bool IsPlain(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](unsigned char letter) { return letter < ' ' || letter == 0x7F; });
}

bool IsToken(std::string_view text) {
    constexpr std::string_view others = "!#$%&'*+-.^_`|~";
    return !text.empty() && std::all_of(text.begin(), text.end(), [=](unsigned char letter) {
        return isalnum(letter) != 0 || others.find(static_cast<char>(letter)) != std::string_view::npos;
    });
}

bool HasHeader(const Reply& reply, std::string_view name) {
    return std::any_of(reply.m_headers.begin(), reply.m_headers.end(),
                       [=](const auto& header) { return header.first == name && !header.second.empty(); });
}

void CheckHeaders(const Request& request, const Reply& reply) {
    for (const auto& [name, value] : reply.m_headers) {
        Require(IsToken(name), Words(request, "a header is called '" + name + "'"));
        Require(IsPlain(value), Words(request, "header " + name + " has a control character"));
    }
    Require(IsPlain(reply.m_contentType), Words(request, "the content type has a control character"));
    if (reply.m_status == 401) Require(HasHeader(reply, "WWW-Authenticate"), Words(request, "401 without its header"));
    if (reply.m_status == 405) Require(HasHeader(reply, "Allow"), Words(request, "405 without Allow"));
}

void CheckBody(const Request& request, const Reply& reply) {
    if (!reply.m_body) {
        Require(reply.m_status < 400, Words(request, "an error without a body"));
        return;
    }
    Require(!reply.m_contentType.empty(), Words(request, "a body without a content type"));
    if (!reply.m_contentType.starts_with("application/json")) return;
    const auto json = nlohmann::json::parse(*reply.m_body, nullptr, false);
    Require(!json.is_discarded(), Words(request, "what is no JSON: " + *reply.m_body));
    const auto isControl = [](unsigned char letter) { return (letter < ' ' && letter != '\n') || letter == 0x7F; };
    Require(std::none_of(reply.m_body->begin(), reply.m_body->end(), isControl),
            Words(request, "JSON with a control character"));
    if (reply.m_status >= 400)
        Require(json.is_object() && json.contains("error"), Words(request, "an error without its reason"));
}

void CheckReply(const Request& request, const Reply& reply) {
    static const std::set<unsigned> known = {200, 201, 202, 204, 304, 400, 401, 403, 404, 405, 409, 411, 412,
                                             413, 414, 415, 421, 428, 429, 431, 500, 501, 502, 503, 504, 507};
    Require(known.contains(reply.m_status), Words(request, "answered " + std::to_string(reply.m_status)));
    CheckHeaders(request, reply);
    CheckBody(request, reply);
}

void CheckStream(const Request& request, std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = TakeLine(text);
        if (line.empty() || text.empty()) continue; // the last line may have come half
        const bool good = line.starts_with(":") || line.starts_with("id: ") || line.starts_with("event: ") ||
                          line.starts_with("data: ") || line.starts_with("retry: ");
        Require(good, Words(request, "a stream with the line " + std::string(line)));
    }
}

std::string BeginningOf(Stream& stream) {
    constexpr std::size_t most = 16 * 1024;
    std::string text;
    std::array<char, 700> piece{};
    while (text.size() < most) {
        const std::size_t size = stream.Next(piece.data(), piece.size());
        if (size == 0) break;
        text.append(piece.data(), size);
    }
    stream.End();
    return text;
}

/// What a ticket came to.
class OneAnswer {
public:
    Ticket Give() {
        auto held = std::make_shared<Held>(*this);
        return [held](Settled answer) { held->m_answer.Set(std::move(answer)); };
    }
    bool IsGiven() const { return m_given; }
    std::optional<Settled>& Value() { return m_value; }

private:
    struct Held {
        explicit Held(OneAnswer& answer) : m_answer(answer) { answer.m_given = true; }
        ~Held() {
            if (!m_answer.m_value) m_answer.Set(Refusal(503, "", "dropped"));
        }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;
        OneAnswer& m_answer;
    };
    void Set(Settled answer) {
        Require(!m_value, "a request is answered twice");
        m_value = std::move(answer);
    }

    bool m_given = false;
    std::optional<Settled> m_value;
};

/// The steps of Exchange.cpp.
class Carried {
public:
    Carried(HttpService& service, HttpText& text, const Manner& manner)
        : m_service(service),
          m_request(text.m_request),
          m_body(text.m_body),
          m_manner(manner) {}

    Asked Run() {
        Asked asked;
        asked.m_reply = Answered(asked);
        m_service.Finish(m_request, asked.m_reply);
        CheckReply(m_request, asked.m_reply);
        CheckStream(m_request, asked.m_stream);
        return asked;
    }

private:
    Reply Answered(Asked& asked) {
        std::optional<Settled> settled;
        try {
            Begin();
            settled = Handled(asked);
        } catch (const Refusal& refusal) {
            settled = refusal;
        } catch (const std::exception& error) {
            Require(false, Words(m_request, std::string("threw ") + error.what()));
        }
        if (const auto* refusal = std::get_if<Refusal>(&*settled)) {
            // Redfish answers 500 for what the adaptor could not do; a refusal of 500 is an exception of ours.
            Require(refusal->m_status != 500, Words(m_request, std::string("threw ") + refusal->what()));
            return m_service.ErrorReply(m_request, *refusal);
        }
        return std::get<Reply>(std::move(*settled));
    }

    void Begin() {
        const uint64_t length = m_body.size();
        BodyPlan plan = m_service.Begin(m_request, m_body.empty() ? std::nullopt : std::optional(length));
        if (!plan.m_taken && length > 0) throw Refusal(400, "", "this request takes no body");
        if (length > plan.m_most) throw Refusal(413, "", "too large");
        if (length > 0 && !plan.m_mediaType.empty()) m_request.ExpectMediaType(plan.m_mediaType);
        m_request.m_sink = std::move(plan.m_sink);
        if (!m_request.m_sink) {
            m_request.m_body = m_body;
            return;
        }
        for (std::size_t done = 0; done < m_body.size(); done += m_manner.m_piece)
            m_request.m_sink->Write(m_body.data() + done, std::min(m_manner.m_piece, m_body.size() - done));
    }

    Settled Handled(Asked& asked) {
        OneAnswer answer;
        Outcome outcome = m_service.Handle(m_request, [&] {
            Require(!answer.IsGiven(), "a request takes two tickets");
            return answer.Give();
        });
        if (auto* reply = std::get_if<Reply>(&outcome)) return std::move(*reply);
        if (auto* streams = std::get_if<Streams>(&outcome)) {
            Reply begin;
            begin.m_contentType = streams->m_stream->ContentType();
            asked.m_streams = true;
            asked.m_stream = BeginningOf(*streams->m_stream);
            return begin;
        }
        Require(answer.IsGiven(), Words(m_request, "waits, and nobody has a ticket"));
        if (m_manner.m_turn) m_manner.m_turn();
        Require(answer.Value().has_value(), Words(m_request, "waits for ever"));
        if (std::holds_alternative<Again>(*answer.Value())) return Handled(asked);
        return std::move(*answer.Value());
    }

    HttpService& m_service;
    Request& m_request;
    const std::string& m_body;
    const Manner& m_manner;
};

} // namespace

Asked AskService(HttpService& service, HttpText& text, const Manner& manner) {
    return Carried(service, text, manner).Run();
}

} // namespace fuzzing
