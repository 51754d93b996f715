// The framing of ipmi_sim's VM port.
#include "sim/controller/VMCodec.h"

#include <gmock/gmock.h>

#include <random>
#include <vector>

using namespace BLADESIM;
using testing::ElementsAre;

namespace {

std::vector<VM_FRAME> Decode(const std::vector<uint8_t>& a_Bytes, VM_DECODER& a_Decoder) {
    std::vector<VM_FRAME> l_Frames;
    for (const uint8_t l_Byte : a_Bytes) {
        if (auto l_Frame = a_Decoder.Feed(l_Byte)) l_Frames.push_back(*l_Frame);
    }
    return l_Frames;
}

std::vector<VM_FRAME> Decode(const std::vector<uint8_t>& a_Bytes) {
    VM_DECODER l_Decoder;
    return Decode(a_Bytes, l_Decoder);
}

} // namespace

TEST(VMCodec, EncodesAGetDeviceIdRequest) {
    EXPECT_THAT(Encode(VM_MESSAGE{0x05, 0x06, 0, 0x01, {}}), ElementsAre(0x05, 0x18, 0x01, 0xE2, 0xA0));
}

TEST(VMCodec, PutsTheLunBesideTheNetFn) {
    EXPECT_THAT(Encode(VM_MESSAGE{0x00, 0x2C, 2, 0x00, {0x00}}), ElementsAre(0x00, 0xB2, 0x00, 0x00, 0x4E, 0xA0));
}

TEST(VMCodec, EscapesTheThreeSpecialBytes) {
    EXPECT_THAT(Encode(VM_MESSAGE{0xA0, 0x06, 0, 0xA1, {0xAA, 0xAB}}),
                ElementsAre(0xAA, 0xB0, 0x18, 0xAA, 0xB1, 0xAA, 0xBA, 0xAB, 0x52, 0xA0));
}

TEST(VMCodec, EscapesAChecksumThatIsSpecial) {
    EXPECT_THAT(Encode(VM_MESSAGE{0x47, 0x06, 0, 0x01, {}}), ElementsAre(0x47, 0x18, 0x01, 0xAA, 0xB0, 0xA0));
}

TEST(VMCodec, GreetsWithVersionOneAndNoCapabilities) {
    EXPECT_THAT(VMGreeting(), ElementsAre(0xFF, 0x01, 0xA1, 0x08, 0x00, 0xA1));
}

TEST(VMCodec, DecodesAReply) {
    const VM_FRAME l_Expected = VM_MESSAGE{0x05, 0x07, 0, 0x01, {0x00, 0x35}};
    EXPECT_THAT(Decode({0x05, 0x1C, 0x01, 0x00, 0x35, 0xA9, 0xA0}), ElementsAre(l_Expected));
}

TEST(VMCodec, DecodesAControlCommand) {
    const VM_FRAME l_Expected = VM_CONTROL{{0xFF, 0x01}};
    EXPECT_THAT(Decode({0xFF, 0x01, 0xA1}), ElementsAre(l_Expected));
}

TEST(VMCodec, DecodesWhatItEncodesWhateverTheBytes) {
    std::mt19937 l_Random(20240611);
    VM_DECODER l_Decoder;
    for (int l_Round = 0; l_Round < 2000; ++l_Round) {
        VM_MESSAGE l_Message{static_cast<uint8_t>(l_Random()), static_cast<uint8_t>(l_Random() & 0x3F),
                             static_cast<uint8_t>(l_Random() & 3), static_cast<uint8_t>(l_Random()),
                             std::vector<uint8_t>(l_Random() % 273)};
        for (uint8_t& l_Byte : l_Message.m_Data)
            l_Byte = static_cast<uint8_t>(0x98 + l_Random() % 0x20);
        const VM_FRAME l_Expected = l_Message;
        ASSERT_THAT(Decode(Encode(l_Message), l_Decoder), ElementsAre(l_Expected));
    }
}

class VMCodecRefusal : public testing::TestWithParam<std::vector<uint8_t>> {};

TEST_P(VMCodecRefusal, DropsWhatIsNoFrameAndDecodesTheNext) {
    std::vector<uint8_t> l_Stream = GetParam();
    const VM_MESSAGE l_Next{0x01, 0x07, 0, 0x01, {0x00}};
    for (const uint8_t l_Byte : Encode(l_Next))
        l_Stream.push_back(l_Byte);
    EXPECT_THAT(Decode(l_Stream), ElementsAre(VM_FRAME{l_Next}));
}

INSTANTIATE_TEST_SUITE_P(Streams, VMCodecRefusal,
                         testing::Values(std::vector<uint8_t>{0x05, 0x1C, 0x01, 0x00, 0x35, 0xAB, 0xA0}, // bad checksum
                                         std::vector<uint8_t>{0x00, 0x00, 0x00, 0xA0},                   // too short
                                         std::vector<uint8_t>{0xA0}, std::vector<uint8_t>{0xA1},   // nothing in it
                                         std::vector<uint8_t>{0x00, 0x00, 0x00, 0x00, 0xAA, 0xA0}, // cut in an escape
                                         [] {                                                      // too long
                                             std::vector<uint8_t> l_Long(1000, 0x00);
                                             l_Long.push_back(0xA0);
                                             return l_Long;
                                         }()));
