// The framing of ipmi_sim's VM port.
#include "sim/controller/VMCodec.h"

#include <gmock/gmock.h>

#include <random>
#include <vector>

using namespace bladesim;
using testing::ElementsAre;

namespace {

std::vector<VmFrame> Decode(const std::vector<uint8_t>& bytes, VmDecoder& decoder) {
    std::vector<VmFrame> frames;
    for (const uint8_t byte : bytes) {
        if (auto frame = decoder.Feed(byte)) frames.push_back(*frame);
    }
    return frames;
}

std::vector<VmFrame> Decode(const std::vector<uint8_t>& bytes) {
    VmDecoder decoder;
    return Decode(bytes, decoder);
}

} // namespace

TEST(VMCodec, EncodesAGetDeviceIdRequest) {
    EXPECT_THAT(Encode(VmMessage{0x05, 0x06, 0, 0x01, {}}), ElementsAre(0x05, 0x18, 0x01, 0xE2, 0xA0));
}

TEST(VMCodec, PutsTheLunBesideTheNetFn) {
    EXPECT_THAT(Encode(VmMessage{0x00, 0x2C, 2, 0x00, {0x00}}), ElementsAre(0x00, 0xB2, 0x00, 0x00, 0x4E, 0xA0));
}

TEST(VMCodec, EscapesTheThreeSpecialBytes) {
    EXPECT_THAT(Encode(VmMessage{0xA0, 0x06, 0, 0xA1, {0xAA, 0xAB}}),
                ElementsAre(0xAA, 0xB0, 0x18, 0xAA, 0xB1, 0xAA, 0xBA, 0xAB, 0x52, 0xA0));
}

TEST(VMCodec, EscapesAChecksumThatIsSpecial) {
    EXPECT_THAT(Encode(VmMessage{0x47, 0x06, 0, 0x01, {}}), ElementsAre(0x47, 0x18, 0x01, 0xAA, 0xB0, 0xA0));
}

TEST(VMCodec, GreetsWithVersionOneAndNoCapabilities) {
    EXPECT_THAT(VMGreeting(), ElementsAre(0xFF, 0x01, 0xA1, 0x08, 0x00, 0xA1));
}

TEST(VMCodec, DecodesAReply) {
    const VmFrame expected = VmMessage{0x05, 0x07, 0, 0x01, {0x00, 0x35}};
    EXPECT_THAT(Decode({0x05, 0x1C, 0x01, 0x00, 0x35, 0xA9, 0xA0}), ElementsAre(expected));
}

TEST(VMCodec, DecodesAControlCommand) {
    const VmFrame expected = VmControl{{0xFF, 0x01}};
    EXPECT_THAT(Decode({0xFF, 0x01, 0xA1}), ElementsAre(expected));
}

TEST(VMCodec, DecodesWhatItEncodesWhateverTheBytes) {
    std::mt19937 random(20240611);
    VmDecoder decoder;
    for (int round = 0; round < 2000; ++round) {
        VmMessage message{static_cast<uint8_t>(random()), static_cast<uint8_t>(random() & 0x3F),
                          static_cast<uint8_t>(random() & 3), static_cast<uint8_t>(random()),
                          std::vector<uint8_t>(random() % 273)};
        for (uint8_t& byte : message.m_data)
            byte = static_cast<uint8_t>(0x98 + random() % 0x20);
        const VmFrame expected = message;
        ASSERT_THAT(Decode(Encode(message), decoder), ElementsAre(expected));
    }
}

class VMCodecRefusal : public testing::TestWithParam<std::vector<uint8_t>> {};

TEST_P(VMCodecRefusal, DropsWhatIsNoFrameAndDecodesTheNext) {
    std::vector<uint8_t> stream = GetParam();
    const VmMessage next{0x01, 0x07, 0, 0x01, {0x00}};
    for (const uint8_t byte : Encode(next))
        stream.push_back(byte);
    EXPECT_THAT(Decode(stream), ElementsAre(VmFrame{next}));
}

INSTANTIATE_TEST_SUITE_P(Streams, VMCodecRefusal,
                         testing::Values(std::vector<uint8_t>{0x05, 0x1C, 0x01, 0x00, 0x35, 0xAB, 0xA0}, // bad checksum
                                         std::vector<uint8_t>{0x00, 0x00, 0x00, 0xA0},                   // too short
                                         std::vector<uint8_t>{0xA0}, std::vector<uint8_t>{0xA1},   // nothing in it
                                         std::vector<uint8_t>{0x00, 0x00, 0x00, 0x00, 0xAA, 0xA0}, // cut in an escape
                                         [] {                                                      // too long
                                             std::vector<uint8_t> tooLong(1000, 0x00);
                                             tooLong.push_back(0xA0);
                                             return tooLong;
                                         }()));
