// Formatted text as a string.
#include "common/veldo_common_text.h"

#include <gtest/gtest.h>

namespace {

using BM_ADAPTOR::FormatText;
using BM_ADAPTOR::FormatTextList;

__attribute__((format(printf, 1, 2))) std::string FormattedList(const char* a_Format, ...) {
    va_list l_Arguments;
    va_start(l_Arguments, a_Format);
    std::string l_Text = FormatTextList(a_Format, l_Arguments);
    va_end(l_Arguments);
    return l_Text;
}

TEST(FormattedText, IsWhatPrintfWrites) {
    EXPECT_EQ("bay 3 has 0x1a, LED", FormatText("bay %d has 0x%02x, %s", 3, 0x1A, "LED"));
    EXPECT_EQ("bay 3 has 0x1a, LED", FormattedList("bay %d has 0x%02x, %s", 3, 0x1A, "LED"));
}

TEST(FormattedText, IsAsLongAsItHasToBe) {
    const std::string l_Long(100000, 'x');
    EXPECT_EQ("<" + l_Long + ">", FormatText("<%s>", l_Long.c_str()));
}

TEST(FormattedText, MayBeEmpty) {
    EXPECT_EQ("", FormatText("%s", ""));
}

TEST(FormattedText, EndsWithItsLastCharacterAndNoZero) {
    EXPECT_EQ(3U, FormatText("%s", "abc").size());
}

} // namespace
