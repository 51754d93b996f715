// A request of a client and what it is answered, free of how both are carried.
#pragma once

#include "host/api/Upload.h"
#include "host/resident/ResidentHost.h"

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace bmhost {

struct Request {
    std::string m_method; ///< as it was sent
    std::string m_path;   ///< without the query
    std::vector<std::string> m_captured;
    std::map<std::string, std::string> m_query;
    std::string m_contentType;
    std::string m_ifNoneMatch;
    std::string m_lastEventId;
    std::string m_body;
    std::unique_ptr<UploadSink> m_image;
    Asker m_asker;

    std::string Operation() const { return m_method + " " + m_path; }
};

using Headers = std::vector<std::pair<std::string, std::string>>;

struct Reply {
    unsigned m_status = 200;
    std::shared_ptr<const std::string> m_body; ///< none: no body
    Headers m_headers;
};

/// The answer comes by `Answered`.
struct Waits {};
/// A stream of events follows.
struct Streams {
    std::optional<uint64_t> m_after; ///< none: only what comes from now on
};

using Outcome = std::variant<Reply, Waits, Streams>;

/// The request is not carried out.
class Refusal : public std::runtime_error {
public:
    /// @param value  what was wrong, as the client gave it
    Refusal(unsigned status, std::string value, const std::string& reason, Headers headers = {})
        : std::runtime_error(reason),
          m_status(status),
          m_value(std::move(value)),
          m_headers(std::move(headers)) {}

    unsigned m_status;
    std::string m_value;
    Headers m_headers;
};

/// One line of JSON.
Reply JsonReply(unsigned status, const nlohmann::ordered_json& body, Headers headers = {});
/// {"error": {"operation", "value", "reason"}}
Reply ErrorReply(const Request& request, const Refusal& refusal);

} // namespace bmhost
