// What a request is answered, free of how it is carried.
#pragma once

#include <nlohmann/json.hpp>

#include <exception>
#include <memory>
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

/// The request is not carried out. Copies go from thread to thread, and the copies of a std::runtime_error share their
/// text: this one has its own.
class Refusal : public std::exception {
public:
    /// @param value  what was wrong, as the client gave it
    Refusal(unsigned status, std::string value, std::string reason, Headers headers = {})
        : m_status(status),
          m_value(std::move(value)),
          m_headers(std::move(headers)),
          m_reason(std::move(reason)) {}

    const char* what() const noexcept override { return m_reason.c_str(); }

    unsigned m_status;
    std::string m_value;
    Headers m_headers;

private:
    std::string m_reason;
};

/// One line of JSON.
Reply JsonReply(unsigned status, const nlohmann::ordered_json& body, Headers headers = {});

} // namespace bmhost
