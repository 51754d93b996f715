// The page for people, at the web door.
#pragma once

#include "host/http/Service.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace bmhost {

/// What the page may load and do: its own files, and requests to the server that it comes from. Neither scripts nor
/// styles stand in the page itself, and no text becomes markup.
constexpr std::string_view PagePolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'; trusted-types 'none'";

/// Serves GET / and /page/{file}.
class PageService final : public HttpService {
public:
    PageService();

    BodyPlan Begin(Request& request, std::optional<uint64_t> length) override;
    Outcome Handle(Request& request, const TakeTicket& takeTicket) override;
    Reply ErrorReply(const Request& request, const Refusal& refusal) override;
    void Finish(const Request& request, Reply& reply) override;

private:
    struct Served {
        std::shared_ptr<const std::string> m_body;
        std::string m_type;
        std::string m_tag;
    };

    std::map<std::string, Served, std::less<>> m_files; ///< by path
};

} // namespace bmhost
