// What is read from ipmi_sim's console.
#include "sim/orders/ControlClient.h"

#include "sim/base/Error.h"

#include <gtest/gtest.h>

using namespace bladesim;

namespace {

// As ipmi_sim sends it: telnet options, prompt, echo, and lines that end with "\n\r".
const std::string Greeting = "\xFF\xFB\x03\xFF\xFB\x01\xFF\xFE\x01> ";

} // namespace

TEST(ConsoleAnswer, IsTheLineOfJsonWithoutEchoAndPrompt) {
    EXPECT_EQ(ConsoleAnswer(Greeting + "blade leds\n\r[{\"fru\":0}]\n\r> "), "[{\"fru\":0}]");
}

TEST(ConsoleAnswer, IsEmptyUntilTheLineIsWhole) {
    EXPECT_EQ(ConsoleAnswer(Greeting), "");
    EXPECT_EQ(ConsoleAnswer(Greeting + "blade leds\n\r[{\"fru\":"), "");
    EXPECT_EQ(ConsoleAnswer(Greeting.substr(0, 4)), "");
}

TEST(ConsoleAnswer, IsAnErrorWhenTheConsoleRefusesTheCommand) {
    EXPECT_THROW(ConsoleAnswer(Greeting + "blade leds\n\r**Unknown command: blade\n\r> "), BladeError);
}
