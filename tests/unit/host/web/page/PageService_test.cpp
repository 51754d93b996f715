// How the page is served: types, tags, what may be cached, and what it may do.
#include "host/web/page/PageService.h"

#include "host/accounts/Grants.h"
#include "host/web/page/PageFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::Not;

Reply Ask(PageService& page, const std::string& method, const std::string& path, const std::string& tag = "") {
    Request request;
    request.m_method = method;
    request.m_path = path;
    if (!tag.empty()) request.m_headers.emplace_back("If-None-Match", tag);
    Reply reply;
    try {
        page.Begin(request, std::nullopt);
        reply = std::get<Reply>(page.Handle(request, {}));
    } catch (const Refusal& refusal) {
        reply = page.ErrorReply(request, refusal);
    }
    page.Finish(request, reply);
    return reply;
}

std::string HeaderOf(const Reply& reply, const std::string& name) {
    for (const auto& [each, value] : reply.m_headers) {
        if (each == name) return value;
    }
    return "";
}

std::map<std::string, std::string> Directives(const std::string& policy) {
    std::map<std::string, std::string> directives;
    std::istringstream parts(policy);
    for (std::string part; std::getline(parts, part, ';');) {
        const auto begin = part.find_first_not_of(' ');
        const auto end = part.find(' ', begin);
        directives[part.substr(begin, end - begin)] = part.substr(end + 1);
    }
    return directives;
}

std::string PathOf(const PageFile& file) {
    return file.m_name == "index.html" ? "/" : "/page/" + std::string(file.m_name);
}

TEST(PageService, ServesEveryFileWithItsType) {
    const std::map<std::string, std::string> types = {{"html", "text/html; charset=utf-8"},
                                                      {"css", "text/css; charset=utf-8"},
                                                      {"js", "text/javascript; charset=utf-8"},
                                                      {"svg", "image/svg+xml"}};
    PageService page;
    for (const PageFile& file : PageFiles()) {
        const Reply reply = Ask(page, "GET", PathOf(file));
        EXPECT_EQ(reply.m_status, 200U) << file.m_name;
        ASSERT_NE(reply.m_body, nullptr) << file.m_name;
        EXPECT_EQ(*reply.m_body, file.m_bytes);
        EXPECT_EQ(reply.m_contentType, types.at(std::string(file.m_name.substr(file.m_name.rfind('.') + 1))));
    }
}

TEST(PageService, SendsAFileAgainOnlyWhenItIsAnother) {
    PageService page;
    std::map<std::string, std::string> names;
    for (const PageFile& file : PageFiles()) {
        const Reply first = Ask(page, "GET", PathOf(file));
        const std::string tag = HeaderOf(first, "ETag");
        EXPECT_TRUE(names.emplace(tag, file.m_name).second) << "another file has the tag " << tag;
        EXPECT_EQ(HeaderOf(first, "Cache-Control"), "no-cache") << "an old page would stay after an upgrade";
        const Reply again = Ask(page, "GET", PathOf(file), "\"other\", " + tag);
        EXPECT_EQ(again.m_status, 304U);
        EXPECT_EQ(again.m_body, nullptr);
        EXPECT_EQ(HeaderOf(again, "ETag"), tag);
        EXPECT_EQ(Ask(page, "GET", PathOf(file), "\"other\"").m_status, 200U);
    }
}

TEST(PageService, RefusesOtherPathsAndMethods) {
    PageService page;
    for (const char* const path : {"/page", "/page/", "/page/index.html", "/page/../etc", "/page/nothing.js", "/x"})
        EXPECT_EQ(Ask(page, "GET", path).m_status, 404U) << path;
    const Reply reply = Ask(page, "POST", "/");
    EXPECT_EQ(reply.m_status, 405U);
    EXPECT_EQ(HeaderOf(reply, "Allow"), "GET, HEAD");
    EXPECT_EQ(reply.m_contentType, "text/plain; charset=utf-8") << "what a reader asked for is no markup";
}

TEST(PageService, EveryPathHasItsGrant) {
    for (const PageFile& file : PageFiles()) {
        const Grant* const grant = GrantFor("GET", PathOf(file));
        ASSERT_NE(grant, nullptr) << file.m_name;
        EXPECT_EQ(grant->m_needs, Privilege::Login);
    }
}

TEST(PageService, ThePageMayUseNothingButItsOwnServer) {
    PageService page;
    for (const char* const path : {"/", "/page/main.js", "/page/nothing"}) {
        const auto directives = Directives(HeaderOf(Ask(page, "GET", path), "Content-Security-Policy"));
        ASSERT_FALSE(directives.empty()) << path;
        EXPECT_EQ(directives.at("default-src"), "'none'");
        for (const auto& [name, value] : directives) {
            if (name.ends_with("-src")) {
                EXPECT_THAT(value, testing::AnyOf("'none'", "'self'")) << name;
            }
        }
        for (const char* const name : {"base-uri", "form-action", "frame-ancestors", "trusted-types"})
            EXPECT_EQ(directives.at(name), "'none'") << name;
        EXPECT_EQ(directives.at("require-trusted-types-for"), "'script'");
    }
}

} // namespace
