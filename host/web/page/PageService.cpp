// The page for people, at the web door.
#include "host/web/page/PageService.h"

#include "host/web/page/PageFiles.h"

#include <cstdint>
#include <stdexcept>

namespace bmhost {

namespace {

struct ContentType {
    std::string_view m_end;
    const char* m_type;
};

constexpr ContentType Types[] = {{".html", "text/html; charset=utf-8"},
                                 {".css", "text/css; charset=utf-8"},
                                 {".js", "text/javascript; charset=utf-8"},
                                 {".svg", "image/svg+xml"}};

std::string ContentTypeOf(std::string_view name) {
    for (const ContentType& type : Types) {
        if (name.ends_with(type.m_end)) return type.m_type;
    }
    throw std::logic_error("a file of the page without a content type: " + std::string(name));
}

// Another version of the program has other bytes: FNV-1a tells them apart.
std::string TagOf(std::string_view bytes) {
    uint64_t hash = 0xCBF29CE484222325U;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
    std::string tag = "\"0123456789abcdef\"";
    constexpr std::string_view digits = "0123456789abcdef";
    for (std::size_t i = 0; i < sizeof hash * 2; ++i)
        tag[i + 1] = digits[hash >> (60 - 4 * i) & 0x0FU];
    return tag;
}

bool NamesTag(std::string_view header, const std::string& tag) {
    return header == "*" || header.find(tag) != std::string_view::npos;
}

} // namespace

PageService::PageService() {
    for (const PageFile& file : PageFiles()) {
        const std::string path = file.m_name == "index.html" ? "/" : "/page/" + std::string(file.m_name);
        m_files[path] = {std::make_shared<const std::string>(file.m_bytes), ContentTypeOf(file.m_name),
                         TagOf(file.m_bytes)};
    }
}

BodyPlan PageService::Begin(Request& request, std::optional<uint64_t> /*length*/) {
    if (!m_files.contains(request.m_path)) throw Refusal(404, request.m_path, "the page has no such file");
    if (request.m_method != "GET" && request.m_method != "HEAD")
        throw Refusal(405, request.m_method, "this path serves GET, HEAD", {{"Allow", "GET, HEAD"}});
    return BodyPlan::None();
}

Outcome PageService::Handle(Request& request, const TakeTicket& /*takeTicket*/) {
    const Served& file = m_files.at(request.m_path);
    Reply reply;
    // Asked for each time, and not sent again while it is the same: no page of an earlier version stays.
    reply.m_headers = {{"ETag", file.m_tag}, {"Cache-Control", "no-cache"}};
    if (NamesTag(request.Header("If-None-Match"), file.m_tag)) {
        reply.m_status = 304;
    } else {
        reply.m_body = file.m_body;
        reply.m_contentType = file.m_type;
    }
    return reply;
}

Reply PageService::ErrorReply(const Request& /*request*/, const Refusal& refusal) {
    Reply reply;
    reply.m_status = refusal.m_status;
    reply.m_headers = refusal.m_headers;
    reply.m_contentType = "text/plain; charset=utf-8";
    reply.m_body = std::make_shared<const std::string>(std::string(refusal.what()) + "\n");
    return reply;
}

void PageService::Finish(const Request& /*request*/, Reply& reply) {
    reply.m_headers.emplace_back("Content-Security-Policy", PagePolicy);
    reply.m_headers.emplace_back("Cross-Origin-Opener-Policy", "same-origin");
    reply.m_headers.emplace_back("Cross-Origin-Resource-Policy", "same-origin");
}

} // namespace bmhost
