// The probe unit's small parts: checksum, site addresses, reply bytes, raw buffer, address information, SDR record.
#include "ProbeFixture.h"

#include "ipmi/IPMI_FRUParse.h"

using namespace BM_ADAPTOR;

namespace {

TEST(IpmbChecksum, IsTheNegatedSum) {
    const BYTES l_Known = {0x20, 0x18};
    EXPECT_EQ(ipmb_checksum(l_Known.data(), 2), 0xC8);
    const BYTES l_Zero = {0x00};
    EXPECT_EQ(ipmb_checksum(l_Zero.data(), 1), 0x00);
    const BYTES l_Carries(300, 0xFF);
    EXPECT_EQ(ipmb_checksum(l_Carries.data(), 300), (300 & 0xFF));
}

TEST(IpmbChecksum, CompletesEverySumToZero) {
    BYTES l_Bytes;
    for (int i = 0; i < 256; ++i) {
        l_Bytes.push_back(static_cast<uint8_t>(i * 7 + 3));
        EXPECT_EQ(ipmb_checksum(l_Bytes.data(), static_cast<int>(l_Bytes.size())), ChecksumOf(l_Bytes)) << i;
    }
}

TEST(IpmbChecksum, OfNothingIsZero) {
    const BYTES l_Bytes = {0x20, 0x18};
    EXPECT_EQ(ipmb_checksum(l_Bytes.data(), 0), 0);
    EXPECT_EQ(ipmb_checksum(l_Bytes.data(), -1), 0);
    EXPECT_EQ(ipmb_checksum(nullptr, 0), 0);
}

TEST(AMCSiteAddress, IsKnownForSitesOneToEight) {
    const BYTES l_Expected = {0x72, 0x74, 0x76, 0x78, 0x7A, 0x7C, 0x7E, 0x80};
    for (unsigned l_Site = 0; l_Site < 256; ++l_Site) {
        const bool l_bKnown = l_Site >= 1 && l_Site <= 8;
        EXPECT_EQ(ConvertAMCSiteNumberToIPMLAddress(static_cast<unsigned char>(l_Site)),
                  l_bKnown ? l_Expected[l_Site - 1] : 0)
            << "site " << l_Site;
    }
}

TEST(ProbeReply, BehindItsEndIsZeroAndEmpty) {
    const BYTES l_Bytes = {0x00, 0x34, 0x12};
    const PROBE_REPLY l_Reply(l_Bytes);
    EXPECT_EQ(l_Reply[2], 0x12);
    EXPECT_EQ(l_Reply[3], 0);
    EXPECT_EQ(l_Reply[100000], 0);
    EXPECT_EQ(l_Reply.Word(1), 0x1234);
    EXPECT_EQ(l_Reply.Word(2), 0x0012);
    EXPECT_EQ(l_Reply.Word(3), 0);
    EXPECT_EQ(l_Reply.From(1).size(), 2U);
    EXPECT_EQ(l_Reply.From(3).size(), 0U);
    EXPECT_EQ(l_Reply.From(4).size(), 0U);
}

TEST(ProbeReply, IsGoodWithCompletionCodeZeroAndEnoughBytes) {
    const BYTES l_Bytes = {0x00, 1, 2};
    EXPECT_TRUE(PROBE_REPLY(l_Bytes).IsGood(3));
    EXPECT_FALSE(PROBE_REPLY(l_Bytes).IsGood(4));
    const BYTES l_Refused = {0xC1, 1, 2};
    EXPECT_FALSE(PROBE_REPLY(l_Refused).IsGood(1));
    EXPECT_EQ(PROBE_REPLY(l_Refused).CompletionCode(), 0xC1);
    EXPECT_TRUE(PROBE_REPLY(l_Refused).HasBytes(3));
}

TEST(ProbeReply, WithoutAnyByteIsAnUnspecifiedError) {
    const PROBE_REPLY l_Reply{std::span<const unsigned char>()};
    EXPECT_EQ(l_Reply.CompletionCode(), 0xFF);
    EXPECT_FALSE(l_Reply.IsGood(0));
    EXPECT_TRUE(l_Reply.HasBytes(0));
    EXPECT_FALSE(l_Reply.HasBytes(1));
}

TEST(FRURawData, BeginsAsOnesWithSlackBehindItsSize) {
    for (const int l_Size : {0, 1, 8, 40, 65535}) {
        const FRURAWDATA l_Raw(l_Size);
        EXPECT_EQ(l_Raw.m_Size, l_Size);
        const unsigned char* l_End = l_Raw.m_Data + l_Size + FRU_PARSE_SLACK;
        EXPECT_EQ(std::count(static_cast<const unsigned char*>(l_Raw.m_Data), l_End, 0xFF), l_Size + FRU_PARSE_SLACK);
    }
    EXPECT_GE(FRU_PARSE_SLACK, 4096);
}

TEST(FRURawData, TakesWhatFitsBetweenOffsetAndSize) {
    struct {
        int m_Offset;
        std::size_t m_Count;
        int m_Taken;
    } const l_Rows[] = {{0, 0, 0},  {0, 8, 8},   {0, 20, 20}, {0, 21, 20},   {16, 16, 4},    {19, 16, 1},
                        {20, 1, 0}, {100, 1, 0}, {-1, 4, 0},  {-16, 255, 0}, {65535, 255, 0}};
    for (const auto& l_Row : l_Rows) {
        FRURAWDATA l_Raw(20);
        EXPECT_EQ(l_Raw.Write(l_Row.m_Offset, BYTES(l_Row.m_Count, 0x11)), l_Row.m_Taken) << l_Row.m_Offset;
        const unsigned char* l_Data = l_Raw.m_Data;
        EXPECT_EQ(std::count(l_Data, l_Data + 20, 0x11), l_Row.m_Taken) << l_Row.m_Offset;
        EXPECT_EQ(std::count(l_Data + 20, l_Data + 20 + FRU_PARSE_SLACK, 0xFF), FRU_PARSE_SLACK) << l_Row.m_Offset;
    }
}

TEST(FRURawData, WritesWhereItIsTold) {
    FRURAWDATA l_Raw(6);
    l_Raw.Write(2, BYTES{1, 2, 3});
    EXPECT_EQ(ToHex({l_Raw.m_Data, l_Raw.m_Data + 6}), "FF FF 01 02 03 FF");
}

TEST(FRUAddressInfo, IsEightBytesInTheReplysOrder) {
    const BYTES l_Reply = {0x00, 0x01, 0x41, 0x82, 0xFF, 0x03, 0x09, 0x07, 0xEE};
    FRUADDRESSINFO l_Info;
    EXPECT_EQ(l_Info.CopyFromData(l_Reply.data()), 0);
    EXPECT_EQ(l_Info.m_CompletionCode, 0x00);
    EXPECT_EQ(l_Info.m_PICMGIdentifier, 0x01);
    EXPECT_EQ(l_Info.m_HardwareAddress, 0x41);
    EXPECT_EQ(l_Info.m_IPMB0Address, 0x82);
    EXPECT_EQ(l_Info.m_Reserved, 0xFF);
    EXPECT_EQ(l_Info.m_FRUID, 0x03);
    EXPECT_EQ(l_Info.m_SiteID, 0x09);
    EXPECT_EQ(l_Info.m_SiteType, 0x07);
}

TEST(SDRRecord, BeginsWithoutBytesAndOfATypeNotKnown) {
    const SDR l_Record(0x1234);
    EXPECT_EQ(l_Record.m_RecordID, 0x1234);
    EXPECT_EQ(l_Record.m_SDRVersion, 0);
    EXPECT_EQ(l_Record.m_RecordType, 0xFF);
    EXPECT_EQ(l_Record.m_Length, 0);
    EXPECT_EQ(l_Record.m_Received, 0);
    EXPECT_EQ(l_Record.m_Data, nullptr);
}

} // namespace
