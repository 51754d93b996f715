// One string field: its type/length byte, the end-of-fields marker, and what the caller's 64 bytes hold afterwards.
#include "ParserFixture.h"

#include <gmock/gmock.h>

#include <array>

using namespace BM_ADAPTOR;

namespace {

constexpr char UNTOUCHED = 0x55;

/// The 64 bytes behind ParseFRUString's `a_Out`, dirty beforehand.
struct OUT_BUFFER {
    std::array<char, 64> m_Bytes;
    int m_Length = -1;

    explicit OUT_BUFFER(BYTES a_Field) {
        m_Bytes.fill(UNTOUCHED);
        m_Length = ParseFRUString(a_Field.data(), m_Bytes.data());
    }
    std::string First63() const { return {m_Bytes.data(), 63}; }
};

std::string PaddedTo63(std::string a_Text) {
    a_Text.resize(63);
    return a_Text;
}

TEST(FRUTypeLength, SplitsEveryByteIntoTwoAndSixBits) {
    for (int i = 0; i < 256; ++i) {
        unsigned char l_Type = 0xEE;
        int l_Length = -1;
        ParseTypeLength(static_cast<unsigned char>(i), l_Type, l_Length);
        EXPECT_EQ(l_Type, i / 64) << i;
        EXPECT_EQ(l_Length, i % 64) << i;
    }
}

TEST(FRUString, OfEightBitTextIsCopiedAndPaddedWithZeros) {
    const OUT_BUFFER l_Out(Field("Acme Works"));
    EXPECT_EQ(l_Out.m_Length, 10);
    EXPECT_EQ(l_Out.First63(), PaddedTo63("Acme Works"));
    EXPECT_EQ(l_Out.m_Bytes[63], UNTOUCHED) << "the 64th byte is the caller's";
}

TEST(FRUString, OfEveryTypeIsCopiedUnconverted) {
    for (const uint8_t l_Type : {FIELD_BINARY, FIELD_BCD_PLUS, FIELD_ASCII_6_BIT, FIELD_TEXT_8_BIT}) {
        const OUT_BUFFER l_Out(Field("\x29\xDC\xA6\x81", l_Type));
        EXPECT_EQ(l_Out.m_Length, 4) << int{l_Type};
        EXPECT_EQ(l_Out.First63(), PaddedTo63("\x29\xDC\xA6\x81")) << int{l_Type};
    }
}

TEST(FRUString, OfLength63FillsAll63BytesAndNoMore) {
    const std::string l_Text(63, 'x');
    const OUT_BUFFER l_Out(Field(l_Text));
    EXPECT_EQ(l_Out.m_Length, 63);
    EXPECT_EQ(l_Out.First63(), l_Text);
    EXPECT_EQ(l_Out.m_Bytes[63], UNTOUCHED);
}

TEST(FRUString, OfLength0IsEmptyWhateverItsType) {
    for (const uint8_t l_Type : {FIELD_BINARY, FIELD_BCD_PLUS, FIELD_ASCII_6_BIT, FIELD_TEXT_8_BIT}) {
        const OUT_BUFFER l_Out(Field("", l_Type));
        EXPECT_EQ(l_Out.m_Length, 0) << int{l_Type};
        EXPECT_EQ(l_Out.First63(), PaddedTo63("")) << int{l_Type};
    }
}

TEST(FRUString, EndOfFieldsMarkerIsAnEmptyStringNotAOneCharacterText) {
    const OUT_BUFFER l_Out({END_OF_FIELDS, 'x'});
    EXPECT_EQ(l_Out.m_Length, 0);
    EXPECT_EQ(l_Out.First63(), PaddedTo63(""));
    EXPECT_EQ(l_Out.m_Bytes[63], UNTOUCHED);
}

TEST(FRUString, OfOneByteOfAnotherTypeIsNoMarker) {
    for (const uint8_t l_Type : {FIELD_BINARY, FIELD_BCD_PLUS, FIELD_ASCII_6_BIT}) {
        const OUT_BUFFER l_Out(Field("x", l_Type));
        EXPECT_EQ(l_Out.m_Length, 1) << int{l_Type};
        EXPECT_EQ(l_Out.First63(), PaddedTo63("x")) << int{l_Type};
    }
}

TEST(FRUString, NulBytesInsideAreCopiedToo) {
    const OUT_BUFFER l_Out(Field(std::string_view("a\0b", 3)));
    EXPECT_EQ(l_Out.m_Length, 3);
    EXPECT_EQ(l_Out.First63(), PaddedTo63(std::string("a\0b", 3)));
}

} // namespace
