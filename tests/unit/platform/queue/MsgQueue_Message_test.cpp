// A message's bytes between two processes.
#include "platform/src/queue/MsgQueue_Message.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

qMsg Sample() {
    qMsg message;
    message.m_type = 0x800071;
    message.m_source = 0x60;
    message.m_destination = 0x40;
    message.m_fields = {{0x300000, {1, 2, 3, 4}}, {0x28000C, {}}};
    return message;
}

TEST(MsgQueueMessage, ComesBackAsItWas) {
    const auto decoded = qMsg::Decode(Sample().Encode());
    ASSERT_TRUE(decoded);
    EXPECT_EQ(Sample().m_type, decoded->m_type);
    EXPECT_EQ(Sample().m_source, decoded->m_source);
    EXPECT_EQ(Sample().m_destination, decoded->m_destination);
    EXPECT_EQ(Sample().m_fields, decoded->m_fields);
}

TEST(MsgQueueMessage, HasWordsOfFourBytesHeaderFirstAndFieldsByNumber) {
    std::vector<uint32_t> words(10);
    const auto bytes = Sample().Encode();
    ASSERT_EQ(words.size() * sizeof(uint32_t), bytes.size());
    std::memcpy(words.data(), bytes.data(), bytes.size());
    const uint32_t value = words.back();
    words.pop_back();
    EXPECT_EQ((std::vector<uint32_t>{0x514D5331, 0x800071, 0x60, 0x40, 2, 0x28000C, 0, 0x300000, 4}), words);
    EXPECT_EQ(0, std::memcmp(&value, "\1\2\3\4", sizeof(value)));
}

TEST(MsgQueueMessage, KnowsItsSizeBeforeItIsEncoded) {
    EXPECT_EQ(20U, qMsg().EncodedSize());
    EXPECT_EQ(Sample().Encode().size(), Sample().EncodedSize());
}

TEST(MsgQueueMessage, IsNoneWhenItIsCutOrTooLong) {
    auto bytes = Sample().Encode();
    for (size_t size = 0; size < bytes.size(); ++size)
        EXPECT_FALSE(qMsg::Decode({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)})) << size;
    bytes.push_back(0);
    EXPECT_FALSE(qMsg::Decode(bytes));
}

TEST(MsgQueueMessage, IsNoneWithAnotherSignature) {
    auto bytes = Sample().Encode();
    bytes[0] ^= 1;
    EXPECT_FALSE(qMsg::Decode(bytes));
}

TEST(MsgQueueMessage, IsNoneWithAFieldTwice) {
    auto bytes = Sample().Encode();
    std::memcpy(&bytes[7 * sizeof(uint32_t)], &bytes[5 * sizeof(uint32_t)], sizeof(uint32_t));
    EXPECT_FALSE(qMsg::Decode(bytes));
}

} // namespace
