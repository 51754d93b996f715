// What a request is answered, free of how it is carried.
#pragma once

#include <nlohmann/json.hpp>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace bmhost {

using Headers = std::vector<std::pair<std::string, std::string>>;

struct Reply {
    unsigned m_status = 200;
    std::shared_ptr<const std::string> m_body; ///< none: no body, and no content type
    Headers m_headers;
    std::string m_contentType = "application/json"; ///< of the body
};

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

} // namespace bmhost
