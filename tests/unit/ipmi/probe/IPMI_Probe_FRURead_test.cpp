// The inventory's FRU steps: sizes, chunks of 16, the bounds of a reply, the end of an area, the deliberate retry.
#include "ProbeFixture.h"

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// A Read FRU Data reply with this count byte and this many bytes of 0x11, which need not agree.
BYTES Chunk(uint8_t a_Count, std::size_t a_Bytes) {
    BYTES l_Reply = {0, a_Count};
    l_Reply.resize(2 + a_Bytes, 0x11);
    return l_Reply;
}

class ProbeFRURead : public PROBE_TEST {
protected:
    /// Entities 0 to the maximum, and the size of FRU 0 asked for.
    void BeginWith(int a_MaxFRUID) {
        ACCESS::MaxFRUID(*m_Probe) = a_MaxFRUID;
        for (int i = 0; i <= a_MaxFRUID; ++i)
            GiveEntity(static_cast<uint8_t>(i), 0);
        m_Probe->SendGetFRUSize(0);
        m_Log.Clear();
    }
    void Reply(const BYTES& a_Reply) { ASSERT_TRUE(Fake().DeliverReply(a_Reply)); }
    void ReplySize(int a_Size) { Reply({0, static_cast<uint8_t>(a_Size), static_cast<uint8_t>(a_Size >> 8), 0}); }
    void ReplyChunk(const BYTES& a_Area, std::size_t a_Offset) { Reply(ReadArea(a_Area, a_Offset, 16)); }
    IPMI_ENTITY& Entity(uint8_t a_FRUID) { return *ACCESS::FRUEntities(*m_Probe).at(a_FRUID); }
    FRURAWDATA& Raw(uint8_t a_FRUID) { return *ACCESS::FRURawData(*m_Probe).at(a_FRUID); }
    static std::string HexOf(const FRURAWDATA& a_Raw, int a_From, int a_Count) {
        return ToHex({a_Raw.m_Data + a_From, a_Raw.m_Data + a_From + a_Count});
    }
};

TEST_F(ProbeFRURead, SizeIsReadLeastSignificantByteFirst) {
    BeginWith(0);
    Reply({0, 0x34, 0x12, 0});
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedFRUSize FRUID=%d", 0),
                   Trace("ENTITYCAPTURE :: ReceivedFRUSize - size=%i", 0x1234)});
    EXPECT_EQ(Raw(0).m_Size, 0x1234);
    EXPECT_EQ(Requests().back(), "0A 11 00 00 00 10");
    EXPECT_EQ(ACCESS::FRUs(*m_Probe).at(0)->m_Address.m_EntityID, 161);
}

TEST_F(ProbeFRURead, SizeZeroSkipsTheFRUWithoutReading) {
    BeginWith(1);
    ReplySize(0);
    EXPECT_THAT(Requests(), ElementsAre("0A 10 00", "0A 10 01"));
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedFRUSize - size=%i", 0));
    EXPECT_THAT(ACCESS::FRURawData(*m_Probe), IsEmpty());
    EXPECT_THAT(ACCESS::FRUs(*m_Probe), IsEmpty());
}

TEST_F(ProbeFRURead, RefusedSizeMeansThatThereIsNoSuchFRU) {
    BeginWith(3);
    ReplySize(0);
    ReplySize(0);
    Reply({CC_NOT_PRESENT});
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedFRUSize FRUID=%d", 2),
                   Trace("ENTITYCAPTURE :: ReceivedFRUSize CC=0x%x - assuming bad FRUID", 0xCBU),
                   Trace("ENTITYCAPTURE :: SendGetFRUSize FRUID=%d", 3)});
    EXPECT_EQ(Requests().back(), "0A 10 03");
}

TEST_F(ProbeFRURead, SizeOfAFRUAboveTheMaximumIsNotAskedAndEndsTheProbe) {
    BeginWith(1);
    m_Probe->SendGetFRUSize(2);
    ExpectInOrder({Trace("ENTITYCAPTURE :: SendGetFRUSize FRUID=%d", 2),
                   Trace("ENTITYCAPTURE :: SendGetFRUSize FRUID=%d greater than max - stopping collection", 2),
                   Trace("ENTITYCAPTURE :: StopCollection - adding stuff!!!")});
    EXPECT_EQ(Fake().SentCount(), 1U);
    EXPECT_TRUE(IsOver());
}

TEST_F(ProbeFRURead, AreaOf48BytesIsReadInThreeChunksAndParsed) {
    BeginWith(0);
    const BYTES l_Area = FRUImage(BoardArea(Fields({"Acme Works", "AMC", "serial", "PN"})), {}, {}, 16);
    ASSERT_EQ(l_Area.size(), 48U);
    ReplySize(48);
    for (const std::size_t l_Offset : {0, 16, 32})
        ReplyChunk(l_Area, l_Offset);
    EXPECT_THAT(Requests(), ElementsAre("0A 10 00", "0A 11 00 00 00 10", "0A 11 00 10 00 10", "0A 11 00 20 00 10"));
    ASSERT_EQ(Entity(0).m_FRUMap.size(), 1U);
    IPMI_FRU* l_FRU = Entity(0).FirstFRU();
    EXPECT_EQ(l_FRU->m_BoardProductName, "AMC");
    ExpectInOrder(
        {Trace("ENTITYCAPTURE :: ReceivedFRUChunk FRUID=%d", 0),
         Trace("ENTITYCAPTURE :: ReceivedFRUChunk - offsets Rcvd=%i", 32),
         Trace("ENTITYCAPTURE :: ReceivedFRUChunk - Parse of FRU data SUCCESS entity=0x%p Devid=%i l_FRU=0x%p "
               "name=%s entity fru size=%i",
               static_cast<void*>(&Entity(0)), 0, static_cast<void*>(l_FRU), l_FRU->m_Name.c_str(), 1),
         Trace("ENTITYCAPTURE :: SendGetFRUSize FRUID=%d", 1)});
    ExpectNotLogged("ENTITYCAPTURE :: ReceivedFRUChunk - mismatch");
}

TEST_F(ProbeFRURead, AreaOf40BytesIsNotCompleteAfterOffset32) {
    BeginWith(0);
    ReplySize(40);
    for (const std::size_t l_Offset : {0, 16, 32})
        ReplyChunk(BYTES(40, 0x55), l_Offset);
    EXPECT_EQ(Requests().back(), "0A 11 00 30 00 10");
    EXPECT_THAT(Entity(0).m_FRUMap, IsEmpty());
    EXPECT_EQ(HexOf(Raw(0), 32, 10), "55 55 55 55 55 55 55 55 FF FF");
}

TEST_F(ProbeFRURead, AreaThatDoesNotParseIsNotAttachedAndTheWalkGoesOn) {
    BeginWith(1);
    ReplySize(16);
    BYTES l_Area = AreaOf16();
    l_Area[7]++;
    ReplyChunk(l_Area, 0);
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedFRUChunk - Parse of FRU data unsuccessful rc=%i", -2));
    EXPECT_THAT(Entity(0).m_FRUMap, IsEmpty());
    EXPECT_EQ(Requests().back(), "0A 10 01");
    ReplySize(16);
    ReplyChunk({1, 0, 0, 0, 0, 0, 1, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0}, 0);
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedFRUChunk - Parse of FRU data unsuccessful rc=%i", -1));
    EXPECT_TRUE(IsOver());
}

// What a reply carries: the count byte, the bytes really there, the room that is left.
TEST_F(ProbeFRURead, ChunkIsTakenUpToCountReplyAndArea) {
    struct {
        const char* m_Name;
        int m_Size;
        BYTES m_Reply;
        int m_Taken;
    } const l_Rows[] = {
        {"whole", 32, Chunk(16, 16), 16},
        {"count above the bytes there", 32, Chunk(16, 2), 2},
        {"count 255 and no bytes", 32, Chunk(255, 0), 0},
        {"count below the bytes there", 32, Chunk(3, 5), 3},
        {"count 0", 32, Chunk(0, 2), 0},
        {"more than was asked for", 64, Chunk(40, 40), 40},
        {"more than the area holds", 8, Chunk(250, 250), 8},
    };
    for (const auto& l_Row : l_Rows) {
        SetUpAgain();
        BeginWith(0);
        ReplySize(l_Row.m_Size);
        Reply(l_Row.m_Reply);
        const FRURAWDATA& l_Raw = Raw(0);
        const unsigned char* l_Begin = l_Raw.m_Data;
        EXPECT_EQ(std::count(l_Begin, l_Begin + l_Raw.m_Size + 4096, 0x11), l_Row.m_Taken) << l_Row.m_Name;
        EXPECT_EQ(Requests().back(), "0A 11 00 10 00 10") << l_Row.m_Name << ": the walk goes on by 16 in any case";
    }
}

TEST_F(ProbeFRURead, ChunksBehindTheAreasEndAreTakenWithoutACopy) {
    BeginWith(0);
    ReplySize(8);
    ReplyChunk(AreaOf(64, "A"), 0);
    Reply(Chunk(16, 16));
    const unsigned char* l_Begin = Raw(0).m_Data;
    EXPECT_EQ(std::count(l_Begin + 8, l_Begin + 8 + 4096, 0xFF), 4096);
    EXPECT_EQ(Requests().back(), "0A 11 00 20 00 10");
}

TEST_F(ProbeFRURead, RefusalAtOffset0AbandonsTheFRU) {
    BeginWith(1);
    ReplySize(64);
    Reply({0xC3});
    EXPECT_EQ(Requests().back(), "0A 10 01");
    EXPECT_THAT(Entity(0).m_FRUMap, IsEmpty());
    ExpectNotLogged("ENTITYCAPTURE :: ReceivedFRUChunk - Error Receiving");
}

TEST_F(ProbeFRURead, RefusalAtALaterOffsetIsAskedAgainOfFRU0) {
    BeginWith(1);
    ReplySize(64);
    for (const std::size_t l_Offset : {0, 16, 32, 48})
        ReplyChunk(AreaOf(64, "FRU 0"), l_Offset);
    ReplySize(64);
    ReplyChunk(AreaOf(64, "FRU 1"), 0);
    Reply({0xC3});
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedFRUChunk FRUID=%d", 1),
                   Trace("ENTITYCAPTURE :: ReceivedFRUChunk - offsets Rcvd=%i", 16),
                   Trace("ENTITYCAPTURE :: ReceivedFRUChunk - Error Receiving data CC %i", 0xC3)});
    EXPECT_EQ(Requests().back(), "0A 11 00 10 00 10");
    EXPECT_EQ(ACCESS::FRUID(*m_Probe), 0) << "FRU 0 is the one being worked on from here";
    m_Log.Clear();
    ReplyChunk(AreaOf(64, "FRU 0"), 16);
    EXPECT_TRUE(m_Log.Has(Text("ENTITYCAPTURE :: ReceivedFRUChunk FRUID=%d", 0)));
    EXPECT_EQ(Requests().back(), "0A 11 00 20 00 10");
}

TEST_F(ProbeFRURead, FRU0ReadAgainKeepsOneRecordWithItsMultirecordsOnce) {
    BM_LOG_LEVEL = 0;
    BYTES l_Area = FRUImage({}, {}, Records({{0xC0, {1, 2, 3}}, {0xC1, {4}}}), 16);
    ASSERT_EQ(l_Area.size(), 32U);
    BeginWith(1);
    ReplySize(32);
    ReplyChunk(l_Area, 0);
    ReplyChunk(l_Area, 16);
    const IPMI_FRU* l_FRU = Entity(0).FirstFRU();
    for (int i = 0; i < 5; ++i) {
        ReplySize(32); // FRU 1
        ReplyChunk(l_Area, 0);
        Reply({0xC3});
        ReplyChunk(l_Area, 16); // of FRU 0, which is complete again
        ASSERT_EQ(Requests().back(), "0A 10 01");
        EXPECT_EQ(Entity(0).m_FRUMap.size(), 1U);
        EXPECT_EQ(Entity(0).FirstFRU(), l_FRU);
        EXPECT_EQ(l_FRU->m_MultiRecords.size(), 2U);
    }
}

TEST_F(ProbeFRURead, FRU0ReadAgainThatNoLongerParsesKeepsWhatItHad) {
    const BYTES l_Area = FRUImage({}, {}, Records({{0xC0, {1, 2, 3}}, {0xC1, {4}}}), 16);
    BeginWith(1);
    ReplySize(32);
    ReplyChunk(l_Area, 0);
    ReplyChunk(l_Area, 16);
    ReplySize(32); // FRU 1
    ReplyChunk(l_Area, 0);
    Reply({0xC3});
    Raw(0).m_Data[7]++; // the common header's checksum
    ReplyChunk(l_Area, 16);
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedFRUChunk - Parse of FRU data unsuccessful rc=%i", -2));
    EXPECT_EQ(Entity(0).m_FRUMap.size(), 1U);
    EXPECT_EQ(Entity(0).FirstFRU()->m_MultiRecords.size(), 2U);
}

TEST_F(ProbeFRURead, RetryOnAFRU0WithoutARawBufferEndsTheProbe) {
    for (const BYTES& l_Reply : {BYTES{0, 1, 0x11}, BYTES{0xC9}}) {
        SetUpAgain();
        BeginWith(1);
        Reply({CC_NOT_PRESENT}); // FRU 0 gives no size
        ReplySize(40);
        ReplyChunk(BYTES(40, 0), 0);
        Reply({0xC9});
        ASSERT_EQ(Requests().back(), "0A 11 00 10 00 10");
        Reply(l_Reply);
        ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedFRUChunk Internal error -- no raw data pointer"),
                       Trace("ENTITYCAPTURE :: StopCollection - adding stuff!!!")});
        EXPECT_TRUE(IsOver());
        EXPECT_EQ(Fake().Outstanding(), 0U);
        EXPECT_EQ(g_EntityMap.size(), 2U);
    }
}

TEST_F(ProbeFRURead, OffsetOfTheReplyIsComparedWithTheOneSent) {
    BeginWith(0);
    ReplySize(64);
    SENT_REQUEST l_Request = Fake().Sent().back();
    l_Request.m_Data2 = reinterpret_cast<void*>(intptr_t{32});
    Fake().Deliver(l_Request, {0, 4, 0x11, 0x11, 0x11, 0x11});
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedFRUChunk - mismatch offsets Rcvd=%i Sent=%i", 32, 0),
                   Trace("ENTITYCAPTURE :: ReceivedFRUChunk - offsets Rcvd=%i", 32)});
    EXPECT_EQ(HexOf(Raw(0), 0, 5), "11 11 11 11 FF") << "the bytes go where the request asked";
    EXPECT_EQ(Raw(0).m_Data[32], 0xFF);
    EXPECT_EQ(Requests().back(), "0A 11 00 10 00 10");
}

TEST_F(ProbeFRURead, CompleteFRUWithoutItsEntityEndsTheHandler) {
    BeginWith(1);
    ReplySize(16);
    auto& l_Entities = ACCESS::FRUEntities(*m_Probe);
    delete l_Entities.at(0);
    l_Entities.erase(0);
    const REPLY_ITEM l_Reply(ReadArea(AreaOf16(), 0, 16));
    const std::size_t l_Before = Fake().SentCount();
    EXPECT_EQ(m_Probe->ReceivedFRUChunk(l_Reply.m_Item), -1);
    EXPECT_EQ(m_Log.Lines().back(), Trace("ENTITYCAPTURE :: ReceivedFRUChunk - ERROR ENTITY not found in map"));
    EXPECT_EQ(Fake().SentCount(), l_Before);
}

TEST_F(ProbeFRURead, CompleteFRUWithoutItsRecordEndsTheHandler) {
    BeginWith(1);
    ReplySize(16);
    auto& l_FRUs = ACCESS::FRUs(*m_Probe);
    delete l_FRUs.at(0);
    l_FRUs.erase(0);
    const REPLY_ITEM l_Reply(ReadArea(AreaOf16(), 0, 16));
    const std::size_t l_Before = Fake().SentCount();
    EXPECT_EQ(m_Probe->ReceivedFRUChunk(l_Reply.m_Item), -1);
    EXPECT_EQ(m_Log.Lines().back(), Trace("ENTITYCAPTURE :: ReceivedFRUChunk - ERROR FRU not found in map"));
    EXPECT_EQ(Fake().SentCount(), l_Before);
    EXPECT_THAT(Entity(0).m_FRUMap, IsEmpty());
}

// The largest size below a multiple of 16: the 16-bit offset wraps, and what is copied stays inside.
TEST_F(ProbeFRURead, OffsetWrapsBehind65520AndCopiesStayInside) {
    BM_LOG_LEVEL = 0;
    BeginWith(0);
    ReplySize(65535);
    const BYTES l_Chunk = Chunk(16, 16);
    for (int i = 0; i < 4096; ++i)
        Reply(l_Chunk);
    EXPECT_EQ(Fake().SentBytes().at(4096), Hex("0A 11 00 F0 FF 10"));
    EXPECT_EQ(Requests().back(), "0A 11 00 00 00 10");
    const unsigned char* l_Begin = Raw(0).m_Data;
    EXPECT_EQ(std::count(l_Begin, l_Begin + 65535, 0x11), 65535);
    EXPECT_EQ(std::count(l_Begin + 65535, l_Begin + 65535 + 4096, 0xFF), 4096);
}

} // namespace
