// Completion codes by name.
#include "host/words/CompletionCode.h"

#include <gtest/gtest.h>

namespace {

using bmhost::CompletionCodeText;

TEST(CompletionCode, OfTheStandardHasItsName) {
    EXPECT_EQ("0xc1 (invalid command)", CompletionCodeText(0xC1));
    EXPECT_EQ("0xcc (invalid data field in the request)", CompletionCodeText(0xCC));
    EXPECT_EQ("0xff (unspecified error)", CompletionCodeText(0xFF));
    EXPECT_EQ("0x0 (success)", CompletionCodeText(0));
}

TEST(CompletionCode, OfNoNameTellsItsRange) {
    EXPECT_EQ("0x1 (a code of the device's own)", CompletionCodeText(0x01));
    EXPECT_EQ("0x7e (a code of the device's own)", CompletionCodeText(0x7E));
    EXPECT_EQ("0x80 (a code of this command's own)", CompletionCodeText(0x80));
    EXPECT_EQ("0xbe (a code of this command's own)", CompletionCodeText(0xBE));
    EXPECT_EQ("0xbf (a reserved code)", CompletionCodeText(0xBF));
    EXPECT_EQ("0xd7 (a reserved code)", CompletionCodeText(0xD7));
}

} // namespace
