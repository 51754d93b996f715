// What an answer of the resident host says about its Init and Start.
#include "sim/shelf/HostState.h"

#include <gtest/gtest.h>

#include <unistd.h>

using namespace bladesim;

namespace {

HostState StateOfBody(const std::string& body) {
    return StateIn("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + body);
}

} // namespace

TEST(HostState, IsStartingUntilInitHasReturned) {
    EXPECT_EQ(StateOfBody(R"({"init":null,"start":null})"), HostState::Starting);
}

TEST(HostState, IsStartingAfterASuccessfulInit) {
    EXPECT_EQ(StateOfBody(R"({"init":{"result":1},"start":null})"), HostState::Starting);
}

TEST(HostState, IsStartedWhenStartHasReturnedWhatever) {
    EXPECT_EQ(StateOfBody(R"({"init":{"result":1},"start":{"result":0}})"), HostState::Started);
}

TEST(HostState, IsStartedWhenInitHasFailedAndNoStartWillCome) {
    EXPECT_EQ(StateOfBody(R"({"init":{"result":0},"start":null})"), HostState::Started);
}

TEST(HostState, IsSilentWithoutAWholeAnswer) {
    EXPECT_EQ(StateIn(""), HostState::Silent);
    EXPECT_EQ(StateIn("HTTP/1.1 200 OK\r\n"), HostState::Silent);
    EXPECT_EQ(StateOfBody(R"({"init":)"), HostState::Silent);
    EXPECT_EQ(StateOfBody(R"({"error":"later"})"), HostState::Silent);
}

TEST(HostState, IsSilentWhenNobodyListens) {
    EXPECT_EQ(AskHost(::getpid(), "/nowhere"), HostState::Silent);
}
