// What `switch enable` and `switch disable` take and refuse.
#include "host/context/FakeContext.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Words = std::vector<std::string>;

TEST(SwitchOrder, WritesThePortsState) {
    FakeContext context;
    EXPECT_TRUE(RunWords(context, {"switch", "enable", "1"}));
    EXPECT_TRUE(RunWords(context, {"switch", "disable", "4"}));
    EXPECT_THAT(context.m_session.m_written,
                ElementsAre("0x30e00 0x30e02=1 -> 0x30e03=1", "0x30e00 0x30e02=4 -> 0x30e03=0"));
}

TEST(SwitchOrder, SaysWhatWasExpectedAndTouchesNoAdaptor) {
    struct SwitchRefusal {
        Words m_words;
        const char* m_reason;
    };
    const SwitchRefusal cases[] = {
        {{"switch", "enable"}, "'switch enable' is not enough: expected switch enable PORT"},
        {{"switch", "1", "enable", "2"}, "'1' is too much: expected switch enable PORT"},
        {{"switch", "1"}, "unknown command 'switch 1': expected switch, or switch enable PORT, or switch disable PORT"},
        {{"switch", "enabel", "1"}, "; did you mean enable?"},
        {{"switch", "enable", "1", "2"}, "'2' is too much: expected switch enable PORT"},
        {{"switch", "enable", "0"}, "PORT '0': expected a port from 1 to 4"},
        {{"switch", "disable", "5"}, "PORT '5'"},
        {{"switch", "disable", "all"}, "PORT 'all'"},
    };
    for (const SwitchRefusal& testCase : cases) {
        FakeContext context;
        EXPECT_THAT(UsageErrorOf([&] { RunWords(context, testCase.m_words); }), HasSubstr(testCase.m_reason));
        EXPECT_EQ(0, context.m_sessions);
    }
}

} // namespace
