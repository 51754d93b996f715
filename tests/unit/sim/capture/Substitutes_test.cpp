// Substitutes for serial numbers and MAC addresses: the same for the same, of the same kind, in every code.
#include "sim/capture/Substitutes.h"

#include <gmock/gmock.h>

#include <set>

using namespace bladesim;

namespace {

Bytes Text(const std::string& text) {
    return {text.begin(), text.end()};
}

class SubstitutesTest : public testing::Test {
protected:
    std::string Serial(const std::string& text) {
        const Bytes other = m_substitutes.Serial(Text(text), FieldCode::EightBit);
        return {other.begin(), other.end()};
    }

    Substitutes m_substitutes{1};
};

} // namespace

TEST_F(SubstitutesTest, AreOfTheSameKindCharacterByCharacter) {
    EXPECT_THAT(Serial("FB72-000a917"),
                testing::MatchesRegex("[A-Z][A-Z][0-9][0-9]-[0-9][0-9][0-9][a-z][0-9][0-9][0-9]"));
    EXPECT_NE(Serial("FB72-000a917"), "FB72-000a917");
    EXPECT_EQ(Serial("-\xB7 -"), "-\xB7 -");
}

TEST_F(SubstitutesTest, AreTheSameForTheSameAndDifferOtherwise) {
    EXPECT_EQ(Serial("AB-12"), Serial("AB-12"));
    std::set<std::string> others;
    for (int number = 0; number < 10; ++number)
        others.insert(Serial(std::to_string(number)));
    EXPECT_GE(others.size(), 9U) << "ten digits for ten digits";
    others.clear();
    for (int number = 1000; number < 2000; ++number)
        others.insert(Serial(std::to_string(number)));
    EXPECT_EQ(others.size(), 1000U);
}

TEST_F(SubstitutesTest, AreTheSameInSixBitCharacters) {
    // "AB12" is 21 22 11 12 in six bits each.
    const Bytes packed = {0xA1, 0x18, 0x49};
    const Bytes other = m_substitutes.Serial(packed, FieldCode::SixBit);
    const std::string text = Serial("AB12");
    unsigned bits = other[0] | other[1] << 8 | other[2] << 16;
    std::string unpacked;
    for (int index = 0; index < 4; ++index, bits >>= 6)
        unpacked += static_cast<char>(0x20 + (bits & 0x3F));
    EXPECT_EQ(unpacked, text);
}

TEST_F(SubstitutesTest, AreDigitsInBCDPlus) {
    const Bytes other = m_substitutes.Serial({0x12, 0xB3, 0xFA}, FieldCode::BcdPlus);
    ASSERT_EQ(other.size(), 3U);
    EXPECT_LE(other[0] >> 4, 9);
    EXPECT_LE(other[0] & 0x0F, 9);
    EXPECT_EQ(other[1] >> 4, 0x0B) << "a dash";
    EXPECT_LE(other[1] & 0x0F, 9);
    EXPECT_EQ(other[2], 0xFA);
    EXPECT_NE(other, (Bytes{0x12, 0xB3, 0xFA}));
}

TEST_F(SubstitutesTest, AreAnyBytesInBinary) {
    const Bytes bytes = {1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes other = m_substitutes.Serial(bytes, FieldCode::Binary);
    EXPECT_EQ(other.size(), bytes.size());
    EXPECT_NE(other, bytes);
    EXPECT_EQ(m_substitutes.Serial(bytes, FieldCode::Binary), other);
}

TEST_F(SubstitutesTest, LeaveTheMakerOfAMAC) {
    const MacAddress mac = {2, 0x4D, 0x71, 0, 0, 6};
    const MacAddress other = m_substitutes.Mac(mac);
    EXPECT_NE(other, mac);
    EXPECT_TRUE(std::equal(mac.begin(), mac.begin() + 3, other.begin()));
    EXPECT_EQ(m_substitutes.Mac(mac), other);
    EXPECT_NE(m_substitutes.Mac({2, 0x4D, 0x71, 0, 0, 7}), other);
    EXPECT_EQ(m_substitutes.Mac({}), MacAddress{});
}
