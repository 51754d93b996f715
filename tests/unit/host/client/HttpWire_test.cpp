// Requests as bytes, and answers from bytes.
#include "host/client/HttpWire.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using namespace bmhost;
using testing::HasSubstr;

TEST(RequestHead, NamesPathTypeAndLength) {
    EXPECT_EQ("POST /v1/calls HTTP/1.1\r\nHost: localhost\r\nUser-Agent: bmhost\r\nContent-Type: application/json\r\n"
              "Content-Length: 12\r\n\r\n",
              RequestHead({"POST", "/v1/calls", "application/json", 12}));
    EXPECT_EQ("GET /v1/events HTTP/1.1\r\nHost: localhost\r\nUser-Agent: bmhost\r\nAccept: text/event-stream\r\n"
              "Last-Event-ID: 7\r\n\r\n",
              RequestHead({"GET", "/v1/events", "", 0, 7}));
    EXPECT_EQ("GET /v1/log HTTP/1.1\r\nHost: localhost\r\nUser-Agent: bmhost\r\n"
              "Bmhost-Account: anna (192.0.2.7)\r\n\r\n",
              RequestHead({"GET", "/v1/log", "", 0, {}, "anna (192.0.2.7)"}));
}

TEST(RequestHead, NoTextBecomesAnotherHeader) {
    EXPECT_THROW(RequestHead({"GET", "/v1/x HTTP/1.1\r\nBmhost-Account: root", "", 0}), std::runtime_error);
    EXPECT_THROW(RequestHead({"GET", "/v1/log", "", 0, {}, "anna\r\nX: y"}), std::runtime_error);
}

const char* const WholeAnswers[] = {
    "HTTP/1.1 404 Not Found\r\nContent-Length: 8\r\nContent-Type: application/json\r\n\r\n{\"a\": 1}",
    "HTTP/1.1 404 Not Found\r\nTransfer-Encoding: chunked\r\n\r\n3\r\n{\"a\r\n5;x=y\r\n\": 1}\r\n0\r\n\r\n",
};

TEST(HttpAnswer, IsReadWhereverItIsCut) {
    for (const std::string answer : WholeAnswers) {
        for (std::size_t cut = 0; cut <= answer.size(); ++cut) {
            std::string body;
            HttpAnswer reader([&](std::string_view piece) { body += piece; }, LongestAnswer);
            reader.Take(answer.substr(0, cut));
            EXPECT_EQ(cut == answer.size(), reader.IsWhole()) << cut;
            reader.Take(answer.substr(cut));
            EXPECT_TRUE(reader.IsWhole()) << cut;
            EXPECT_TRUE(reader.KeepsAlive());
            EXPECT_EQ(404U, reader.Status());
            EXPECT_EQ("{\"a\": 1}", body) << cut;
        }
    }
}

TEST(HttpAnswer, HasNoBodyWhenTheLastChunkIsTheFirst) {
    std::string body;
    HttpAnswer reader([&](std::string_view piece) { body += piece; }, LongestAnswer);
    for (const char byte : std::string("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n")) {
        EXPECT_FALSE(reader.IsWhole());
        reader.Take(std::string(1, byte));
    }
    EXPECT_TRUE(reader.IsWhole());
    EXPECT_EQ("", body);
}

TEST(HttpAnswer, IsHalfWhereverItEndsTooEarly) {
    for (const std::string answer : WholeAnswers) {
        for (std::size_t end = 0; end < answer.size(); ++end) {
            HttpAnswer reader([](std::string_view) {}, LongestAnswer);
            reader.Take(answer.substr(0, end));
            EXPECT_THROW(reader.End(), HalfAnswer) << end;
        }
    }
}

TEST(HttpAnswer, EndsWithTheConnectionWhereItHasNoLength) {
    std::string body;
    HttpAnswer reader([&](std::string_view piece) { body += piece; }, LongestAnswer);
    reader.Take("HTTP/1.1 200 OK\r\n\r\n{}");
    EXPECT_FALSE(reader.IsWhole());
    reader.End();
    EXPECT_TRUE(reader.IsWhole());
    EXPECT_FALSE(reader.KeepsAlive());
    EXPECT_EQ("{}", body);
}

std::string AnswerRefusal(const std::string& answer, std::optional<uint64_t> bound = 10) {
    HttpAnswer reader([](std::string_view) {}, bound);
    try {
        reader.Take(answer);
    } catch (const NoAnswer& error) {
        return error.what();
    }
    return "";
}

TEST(HttpAnswer, WhatIsNoneIsRefusedWithTheReason) {
    EXPECT_THAT(AnswerRefusal("SSH-2.0-OpenSSH_9.2\r\n\r\n"), HasSubstr("what is no HTTP answer: "));
    EXPECT_THAT(AnswerRefusal("HTTP/1.1 abc OK\r\n\r\n"), HasSubstr("what is no HTTP answer: "));
    EXPECT_THAT(AnswerRefusal("HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\n"), HasSubstr("what is no HTTP answer: "));
    EXPECT_THAT(AnswerRefusal("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\n"),
                HasSubstr("no HTTP answer"));
    EXPECT_THAT(AnswerRefusal(std::string(200000, 'x')), HasSubstr("what is no HTTP answer: "));
    EXPECT_THAT(AnswerRefusal("HTTP/1.1 200 OK\r\nX: " + std::string(200000, 'x')),
                HasSubstr("what is no HTTP answer: "));
    EXPECT_EQ("more than it was asked for", AnswerRefusal("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}{}"));
}

TEST(HttpAnswer, BodyIsBounded) {
    EXPECT_EQ("", AnswerRefusal("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n"));
    EXPECT_EQ("an answer that is too long", AnswerRefusal("HTTP/1.1 200 OK\r\nContent-Length: 11\r\n\r\n"));
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n6\r\n123456\r\n6\r\n123456\r\n";
    EXPECT_EQ("an answer that is too long", AnswerRefusal(chunked));
    EXPECT_EQ("", AnswerRefusal(chunked, std::nullopt));
}

} // namespace
