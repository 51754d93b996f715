// Who hears the log.
#include "host/session/LogEar.h"

#include "bm/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using bmhost::LogEar;
using testing::ElementsAre;

TEST(LogEar, HearsBesideOthersUntilItsEnd) {
    std::vector<std::string> first;
    std::vector<std::string> second;
    const LogEar ear(
        [&](int, const std::string& component, const std::string& text) { first.push_back(component + ": " + text); });
    auto other =
        std::make_unique<LogEar>([&](int, const std::string&, const std::string& text) { second.push_back(text); });
    bmiLog(BM_LOG_ERROR, "Ear", "one");
    other.reset();
    bmiLog(BM_LOG_ERROR, "Ear", "two");
    EXPECT_THAT(first, ElementsAre("Ear: one", "Ear: two"));
    EXPECT_THAT(second, ElementsAre("one"));
}

TEST(LogEar, OfAnEarlierListenerDoesNotKeepALaterOneFromHearing) {
    {
        const LogEar gone([](int, const std::string&, const std::string&) { FAIL() << "it has ended"; });
    }
    int lines = 0;
    const LogEar ear([&](int, const std::string&, const std::string&) { ++lines; });
    bmiLog(BM_LOG_ERROR, "Ear", "one");
    EXPECT_EQ(1, lines);
}

} // namespace
