// What `dsp set-ip` takes and refuses.
#include "host/context/FakeContext.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Words = std::vector<std::string>;

TEST(DspSetIp, WritesTheAddressOfTheDsp) {
    for (const char* dsp : {"5", "0x5"}) {
        FakeContext context;
        EXPECT_TRUE(RunWords(context, {"dsp", "set-ip", dsp, "192.168.0.25"}));
        EXPECT_THAT(context.m_session.m_written, ElementsAre("0x30d10 0x30d12=5 -> 0x30d14=192.168.0.25"));
    }
    FakeContext context;
    RunWords(context, {"dsp", "set-ip", "32", "1.2.3.4"});
    EXPECT_THAT(context.m_session.m_written, ElementsAre("0x30d10 0x30d12=32 -> 0x30d14=1.2.3.4"));
}

struct RefusalCase {
    Words m_words;
    const char* m_reason;
};

TEST(DspSetIp, SaysWhatWasExpectedAndTouchesNoAdaptor) {
    const RefusalCase cases[] = {
        {{"dsp", "set-ip"}, "'dsp set-ip' is not enough: expected dsp set-ip N ADDRESS"},
        {{"dsp", "set-ip", "1"}, "'dsp set-ip' is not enough: expected dsp set-ip N ADDRESS"},
        {{"dsp", "set-ip", "1", "1.2.3.4", "5"}, "'5' is too much: expected dsp set-ip N ADDRESS"},
        {{"dsp", "set-mac", "1", "1.2.3.4"}, "unknown command 'dsp set-mac': expected dsp, or dsp set-ip N ADDRESS"},
        {{"dsp", "setip", "1", "1.2.3.4"}, "; did you mean set-ip?"},
        {{"dsp", "set-ip", "0", "1.2.3.4"}, "N '0': expected a DSP from 1 to 32"},
        {{"dsp", "set-ip", "33", "1.2.3.4"}, "N '33'"},
        {{"dsp", "set-ip", "-1", "1.2.3.4"}, "N '-1'"},
        {{"dsp", "set-ip", "one", "1.2.3.4"}, "N 'one'"},
        {{"dsp", "set-ip", "4294967297", "1.2.3.4"}, "N '4294967297'"},
        {{"dsp", "set-ip", "1", ""}, "ADDRESS '': expected four numbers from 0 to 255 with dots between"},
        {{"dsp", "set-ip", "1", "1.2.3"}, "ADDRESS '1.2.3'"},
        {{"dsp", "set-ip", "1", "1.2.3.256"}, "ADDRESS '1.2.3.256'"},
        {{"dsp", "set-ip", "1", "0x1.2.3.4"}, "ADDRESS '0x1.2.3.4'"},
        {{"dsp", "set-ip", "1", "1.2.3.4 ;reboot"}, "ADDRESS '1.2.3.4 ;reboot'"},
        {{"dsp", "set-ip", "1", "fe80::1"}, "ADDRESS 'fe80::1'"},
    };
    for (const RefusalCase& testCase : cases) {
        FakeContext context;
        EXPECT_THAT(UsageErrorOf([&] { RunWords(context, testCase.m_words); }), HasSubstr(testCase.m_reason));
        EXPECT_EQ(0, context.m_sessions);
    }
}

} // namespace
