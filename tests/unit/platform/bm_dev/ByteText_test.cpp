// Arbitrary bytes as text for JSON and terminals.
#include "bm_dev/ByteText.h"

#include <gtest/gtest.h>

using namespace bm_dev;

TEST(ByteText, HasTheCharacterOfEachBytesNumber) {
    EXPECT_EQ(Utf8OfBytes("\x01 az\x7F\x80\xBF\xC0\xFF"), "\x01 az\x7F\u0080\u00BF\u00C0\u00FF");
    EXPECT_EQ(Utf8OfBytes(std::string(1, '\0')), std::string(1, '\0'));
}

TEST(ByteText, HasTheBytesOfSuchATextAgain) {
    std::string all;
    for (int byte = 0; byte <= 0xFF; ++byte)
        all += static_cast<char>(byte);
    EXPECT_EQ(ExactBytesOfUtf8(Utf8OfBytes(all)), all);
    EXPECT_EQ(ExactBytesOfUtf8(""), "");
}

TEST(ByteText, HasNoBytesForOtherTexts) {
    EXPECT_EQ(ExactBytesOfUtf8("a\u0100"), std::nullopt) << "beyond the last byte";
    EXPECT_EQ(ExactBytesOfUtf8("\u20AC"), std::nullopt);
    EXPECT_EQ(ExactBytesOfUtf8("a\xC3"), std::nullopt) << "cut";
    EXPECT_EQ(ExactBytesOfUtf8("\xC2z"), std::nullopt) << "cut";
    EXPECT_EQ(ExactBytesOfUtf8("\xC3\xC3"), std::nullopt) << "cut";
    EXPECT_EQ(ExactBytesOfUtf8("\xC1\xBF"), std::nullopt) << "too long";
    EXPECT_EQ(ExactBytesOfUtf8("\x9B"), std::nullopt) << "a byte alone";
}

TEST(ByteText, HidesWhatSteersATerminalAndLeavesOtherTextAsItIs) {
    EXPECT_EQ(Printable("a\x1B[0m\t\n\r\x7F"), "a?[0m????");
    EXPECT_EQ(Printable("a\n\tb\r", "\n\t"), "a\n\tb?");
    EXPECT_EQ(Printable(std::string("\0x", 2)), "?x");
    EXPECT_EQ(Printable("\x80\x85\x9B\x9F\xA0"), "????\xA0") << "bytes alone";
    EXPECT_EQ(Printable("\u0080\u0085\u009B\u009F\u00A0"), "????????\u00A0") << "as characters";
    EXPECT_EQ(Printable("\u00DB \u20AC \u25CF \U0001F600"), "\u00DB \u20AC \u25CF \U0001F600")
        << "their second bytes are below 0xA0";
}

TEST(ByteText, TakesNothingForACharacterThatIsNone) {
    EXPECT_EQ(Printable("\xC1\x9B"), "\xC1?") << "too long";
    EXPECT_EQ(Printable("\xE0\x82\x9B"), "\xE0??") << "too long";
    EXPECT_EQ(Printable("\xF0\x82\x82\x9B"), "\xF0???") << "too long";
    EXPECT_EQ(Printable("\xED\xA0\x9B"), "\xED\xA0?") << "half of a pair";
    EXPECT_EQ(Printable("\xF4\x90\x80\x9B"), "\xF4???") << "beyond the last";
    EXPECT_EQ(Printable("\xF5\x80\x80\x9B"), "\xF5???") << "beyond the last";
    EXPECT_EQ(Printable("\xE2\x82"), "\xE2?") << "cut";
    EXPECT_EQ(Printable("\xE2\x82x\x9B"), "\xE2?x?") << "cut";
}

TEST(ByteText, LeavesACutCharacterToTheNextPiece) {
    std::string text = "\x9B\U0001F600";
    for (std::size_t cut = 2; cut < text.size(); ++cut) {
        std::string piece = text.substr(0, cut);
        EXPECT_EQ(HideControls(piece.data(), piece.size(), "", false), 1U) << cut;
        EXPECT_EQ(piece, "?" + text.substr(1, cut - 1)) << cut;
        EXPECT_EQ(HideControls(piece.data(), piece.size(), "", true), cut) << cut;
    }
    EXPECT_EQ(HideControls(text.data(), text.size(), "", false), text.size());
    EXPECT_EQ(text, "?\U0001F600");
}

TEST(ByteText, JsonHasEscapesForWhatSteersATerminalOrEndsALine) {
    EXPECT_EQ(EscapedJson("\"\x7F\u0080\u009B\u009F\u00A0\u2028\u2029\u202A\u20AC x\""),
              "\"\\u007f\\u0080\\u009b\\u009f\u00A0\\u2028\\u2029\u202A\u20AC x\"");
    EXPECT_EQ(EscapedJson("\xC2"), "\xC2") << "the end is no character";
}
