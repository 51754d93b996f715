// The adaptor's prints when they are withheld, and what is shown of them.
#include "host/output/Redirect.h"

#include <gtest/gtest.h>

#include <string>
#include <unistd.h>

using namespace bmhost;

namespace {

// The standard descriptors belong to the process, so a child does this.
void ShowPrints(const std::string& prints) {
    PrintsWithheld();
    WriteAll(STDOUT_FILENO, prints);
    ShowWithheld();
    _exit(0);
}

TEST(RedirectDeathTest, WithheldPrintsAreShownWithoutWhatSteersATerminal) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(ShowPrints("one\x1B[31m\n\x9B"
                           "31m\t\u009B31m\r\n\u00E9 \u20AC \xE9"),
                testing::ExitedWithCode(0), "^one\\?\\[31m\n\\?31m\t\\?\\?31m\\?\n\u00E9 \u20AC \xE9$");
}

// Wherever the pieces that are read end.
TEST(RedirectDeathTest, WithheldPrintsKeepTheirCharactersWholeAndEndAsTheyDo) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    for (const std::size_t before : {4092, 4093, 4094, 4095, 4096}) {
        const std::string filling(before, 'x');
        EXPECT_EXIT(ShowPrints(filling + "\U0001F600\xF0\x9F\x98"), testing::ExitedWithCode(0),
                    "^x+\U0001F600\xF0\\?\\?$");
    }
}

} // namespace
