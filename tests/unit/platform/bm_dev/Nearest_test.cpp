// What somebody who mistyped a word probably meant.
#include "bm_dev/Nearest.h"

#include <gtest/gtest.h>

namespace {

using namespace bm_dev;

TEST(EditDistance, CountsLettersThatAreChangedAddedLeftOutOrSwapped) {
    struct DistanceCase {
        const char* m_left;
        const char* m_right;
        std::size_t m_distance;
    };
    constexpr DistanceCase cases[] = {
        {"", "", 0},         {"led", "led", 0},    {"", "led", 3},      {"led", "", 3},        {"led", "lad", 1},
        {"led", "leds", 1},  {"leds", "led", 1},   {"inti", "init", 1}, {"table", "tabel", 1}, {"stpo", "stop", 1},
        {"abcd", "badc", 2}, {"start", "stop", 3}, {"ca", "abc", 3},
    };
    for (const auto& [left, right, distance] : cases) {
        EXPECT_EQ(distance, EditDistance(left, right)) << left << " " << right;
        EXPECT_EQ(distance, EditDistance(right, left)) << right << " " << left;
    }
}

TEST(Nearest, IsTheOneWithTheFewestSlips) {
    const std::vector<std::string> words = {"init", "inventory", "leds", "led", "switch"};
    EXPECT_EQ("inventory", Nearest("inventroy", words));
    EXPECT_EQ("init", Nearest("inti", words));
    EXPECT_EQ("leds", Nearest("ledz", words)) << "the first of those that are equally near";
    EXPECT_EQ("led", Nearest("lde", words));
    EXPECT_EQ("switch", Nearest("SWICH", words)) << "in any case";
}

TEST(Nearest, IsNothingWhenNoneIsClose) {
    const std::vector<std::string> words = {"init", "inventory", "leds"};
    for (const char* word : {"", "x", "zz", "firmware", "fin", "nonsense"})
        EXPECT_EQ("", Nearest(word, words)) << word;
    EXPECT_EQ("", Nearest("init", {}));
}

TEST(DidYouMean, EndsAnErrorsText) {
    EXPECT_EQ("; did you mean inventory?", DidYouMean("inventroy", {"init", "inventory"}));
    EXPECT_EQ("", DidYouMean("nonsense", {"init", "inventory"}));
}

} // namespace
