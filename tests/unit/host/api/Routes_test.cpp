// The route table.
#include "host/api/Routes.h"

#include <gtest/gtest.h>

using namespace bmhost;

namespace {

Request Asked(const std::string& method, const std::string& path, std::map<std::string, std::string> query = {}) {
    Request request;
    request.m_method = method;
    request.m_path = path;
    request.m_query = std::move(query);
    return request;
}

std::string FoundPath(const std::string& method, const std::string& path,
                      std::map<std::string, std::string> query = {}) {
    Request request = Asked(method, path, std::move(query));
    try {
        return std::string(FindRoute(request).m_path);
    } catch (const Refusal& refusal) {
        std::string allow;
        for (const auto& [name, value] : refusal.m_headers)
            allow += " " + name + ": " + value;
        return std::to_string(refusal.m_status) + " " + refusal.m_value + allow;
    }
}

} // namespace

TEST(Routes, EachPathFindsItsRow) {
    for (const Route& route : Routes())
        EXPECT_EQ(FoundPath(std::string(route.m_method), std::string(route.m_path)), route.m_path);
}

TEST(Routes, NamesInBracesAreCaptured) {
    Request request = Asked("HEAD", "/v1/blade/leds/3/2");
    EXPECT_EQ(FindRoute(request).m_path, "/v1/blade/leds/{bay}/{led}");
    EXPECT_EQ(request.m_captured, (std::vector<std::string>{"3", "2"}));
}

TEST(Routes, OtherPathsAreNotFound) {
    for (const char* path : {"", "/", "/v2", "/v1/", "/v1/blade/", "/v1/blade/leds/3", "/v1/blade/leds/3/2/1", "v1"}) {
        // A path with an empty part is its pattern's business.
        const std::string found = FoundPath("GET", path);
        EXPECT_TRUE(found == "404 " + std::string(path) || found == "/v1/blade/{part}") << path << ": " << found;
    }
}

TEST(Routes, AnotherMethodIsToldWhichAreServed) {
    EXPECT_EQ(FoundPath("POST", "/v1/blade"), "405 POST Allow: GET, HEAD");
    EXPECT_EQ(FoundPath("GET", "/v1/orders/stop"), "405 GET Allow: POST");
    EXPECT_EQ(FoundPath("HEAD", "/v1/calls"), "405 HEAD Allow: POST");
    EXPECT_EQ(FoundPath("OPTIONS", "/v1/log"), "405 OPTIONS Allow: GET, HEAD");
    EXPECT_EQ(FoundPath("get", "/v1"), "405 get Allow: GET, HEAD");
}

TEST(Routes, ParametersThatARouteDoesNotKnowAreWrong) {
    EXPECT_EQ(FoundPath("GET", "/v1/log", {{"lines", "3"}}), "/v1/log");
    EXPECT_EQ(FoundPath("GET", "/v1/log", {{"line", "3"}}), "400 line");
    EXPECT_EQ(FoundPath("GET", "/v1/blade", {{"", ""}}), "400 ");
    EXPECT_EQ(FoundPath("POST", "/v1/firmware", {{"target", ""}, {"bay", ""}, {"name", ""}, {"dry_run", ""}}),
              "/v1/firmware");
}

TEST(Routes, NoTwoRowsServeTheSameRequest) {
    for (const Route& one : Routes()) {
        for (const Route& other : Routes()) {
            EXPECT_TRUE(&one == &other || one.m_path != other.m_path) << one.m_path;
        }
    }
}
