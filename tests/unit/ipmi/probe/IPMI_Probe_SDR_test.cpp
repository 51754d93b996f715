// The SDR walk, which no step of the inventory starts: reservation, records in pieces, limits, the end.
#include "ProbeFixture.h"

#include <numeric>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// A record: id, version 0x51, type, length of the body, body of 1, 2, 3 ...
BYTES Record(uint16_t a_ID, uint8_t a_Type, uint8_t a_Body) {
    BYTES l_Record = {static_cast<uint8_t>(a_ID), static_cast<uint8_t>(a_ID >> 8), 0x51, a_Type, a_Body};
    l_Record.resize(5U + a_Body);
    std::iota(l_Record.begin() + 5, l_Record.end(), uint8_t{1});
    return l_Record;
}

/// A Get SDR reply: next record id, then bytes `a_From` to `a_From + a_Count` of the record.
BYTES Reply(uint16_t a_Next, const BYTES& a_Record, std::size_t a_From, std::size_t a_Count) {
    BYTES l_Reply = {0, static_cast<uint8_t>(a_Next), static_cast<uint8_t>(a_Next >> 8)};
    const auto l_Begin = a_Record.begin() + static_cast<long>(a_From);
    l_Reply.insert(l_Reply.end(), l_Begin, l_Begin + static_cast<long>(a_Count));
    return l_Reply;
}

class ProbeSDRWalk : public PROBE_TEST {
protected:
    /// The walk with its reservation, 0x1234; the first record is asked for.
    void Begin() {
        m_Probe->SendReserveSDRRepository();
        Fake().DeliverReply({0, 0x34, 0x12});
        m_Log.Clear();
    }
    static const SDR& Kept(uint16_t a_RecordID) { return *g_SDRMAP.at(a_RecordID); }
};

TEST_F(ProbeSDRWalk, KeepsTheReservationAndAsksForTheFirstHeader) {
    m_Probe->SendReserveSDRRepository();
    m_Log.Clear();
    Fake().DeliverReply({0, 0x34, 0x12});
    EXPECT_EQ(ACCESS::SDRReservationID(*m_Probe), 0x1234);
    EXPECT_EQ(State(), 9);
    EXPECT_THAT(Requests(), ElementsAre("0A 22", "0A 23 34 12 00 00 00 05"));
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedReserveSDRRepository"),
                   Trace("ENTITYCAPTURE :: ReceivedReserveSDRRepository CC=0x%x", 0U),
                   Trace("ENTITYCAPTURE :: SendGetSDRData - RecordID= %d offset=%d len=%d", 0, 0, 5)});
}

TEST_F(ProbeSDRWalk, ReadsARecordInPiecesOfAtMostTheLimit) {
    Begin();
    const BYTES l_Record = Record(0, 0x12, 40);
    for (const auto& [l_From, l_Count] :
         std::vector<std::pair<std::size_t, std::size_t>>{{0, 5}, {5, 16}, {21, 16}, {37, 8}}) {
        Fake().DeliverReply(Reply(0xFFFF, l_Record, l_From, l_Count));
    }
    EXPECT_THAT(Requests(), ElementsAre("0A 22", "0A 23 34 12 00 00 00 05", "0A 23 34 12 00 00 05 10",
                                        "0A 23 34 12 00 00 15 10", "0A 23 34 12 00 00 25 08"));
    EXPECT_EQ(Kept(0).m_SDRVersion, 0x51);
    EXPECT_EQ(Kept(0).m_RecordType, 0x12);
    EXPECT_EQ(Kept(0).m_Length, 45);
    EXPECT_EQ(Kept(0).m_Received, 45);
    EXPECT_EQ(ToHex({Kept(0).m_Data.get(), Kept(0).m_Data.get() + 45}), ToHex(l_Record));
    EXPECT_TRUE(IsOver());
}

TEST_F(ProbeSDRWalk, AsksForALastByteByItself) {
    Begin();
    const BYTES l_Record = Record(0, 0x12, 17);
    Fake().DeliverReply(Reply(0xFFFF, l_Record, 0, 5));
    Fake().DeliverReply(Reply(0xFFFF, l_Record, 5, 16));
    EXPECT_EQ(Requests().back(), "0A 23 34 12 00 00 15 01");
    Fake().DeliverReply(Reply(0xFFFF, l_Record, 21, 1));
    EXPECT_EQ(Kept(0).m_Received, 22);
    EXPECT_TRUE(IsOver());
}

// Record 0 asks for the first record, whose own id stands in its header.
TEST_F(ProbeSDRWalk, KeepsARecordUnderTheIdInItsHeader) {
    Begin();
    const BYTES l_Record = Record(0x0142, 0x12, 20);
    Fake().DeliverReply(Reply(0x0300, l_Record, 0, 5));
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedSDRData New Record! Recordid=%i SDRVer=0x%x type=0x%x len=%d", 0x142,
                       0x51U, 0x12U, 20));
    EXPECT_EQ(Requests().back(), "0A 23 34 12 00 00 05 10") << "the pieces are asked for as the header was";
    Fake().DeliverReply(Reply(0x0300, l_Record, 5, 16));
    Fake().DeliverReply(Reply(0x0300, l_Record, 21, 4));
    EXPECT_EQ(Requests().back(), "0A 23 34 12 00 03 00 05");
    EXPECT_THAT(g_SDRMAP, ElementsAre(testing::Key(0x0142)));
    EXPECT_EQ(Kept(0x0142).m_RecordID, 0x0142);
    EXPECT_EQ(ToHex({Kept(0x0142).m_Data.get(), Kept(0x0142).m_Data.get() + 25}), ToHex(l_Record));

    Fake().DeliverReply({0xC5}); // the walk ends, and the next one knows the record
    Begin();
    Fake().DeliverReply(Reply(0xFFFF, Record(0x0142, 0x11, 0), 0, 5));
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedSDRData existing Recordid=%i", 0x142));
    EXPECT_EQ(g_SDRMAP.size(), 1U);
    EXPECT_EQ(Kept(0x0142).m_RecordType, 0x11);
}

TEST_F(ProbeSDRWalk, EndsAtALaterPieceOfARecordNeverBegun) {
    Begin();
    Fake().LoseReply({0x0A, 0x23});
    Fake().DeliverReply(Reply(2, Record(1, 0x12, 0), 0, 5));
    m_Probe->SendGetSDRData(3, 5, 16); // without its header
    const REPLY_ITEM l_Piece({0, 0xFF, 0xFF, 0xAA, 0xAA});
    EXPECT_EQ(m_Probe->ReceivedSDRData(l_Piece.m_Item), 0);
    EXPECT_TRUE(IsOver());
    EXPECT_THAT(g_SDRMAP, ElementsAre(testing::Key(1)));
    EXPECT_EQ(Kept(1).m_Received, 5);
}

TEST(Sdr, BeginsAsARecordOfIdZeroThatHoldsNothing) {
    const SDR l_Record;
    EXPECT_EQ(l_Record.m_RecordID, 0);
    EXPECT_EQ(l_Record.m_SDRVersion, 0);
    EXPECT_EQ(l_Record.m_RecordType, 0xFF);
    EXPECT_EQ(l_Record.m_Length, 0);
    EXPECT_EQ(l_Record.m_Received, 0);
    EXPECT_EQ(l_Record.m_Data, nullptr);
}

TEST_F(ProbeSDRWalk, TracesEveryPiece) {
    Begin();
    const BYTES l_Record = Record(0, 0x12, 20);
    Fake().DeliverReply(Reply(0xFFFF, l_Record, 0, 5));
    const auto* l_Data = Kept(0).m_Data.get();
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedSDRData"), Trace("ENTITYCAPTURE :: ReceivedSDRData CC=0x%x", 0U),
                   Trace("ENTITYCAPTURE :: ReceivedSDRData New Record! Recordid=%i SDRVer=0x%x type=0x%x len=%d", 0,
                         0x51U, 0x12U, 20),
                   Trace("ENTITYCAPTURE :: ReceivedSDRData Writing SDRdata=0x%p WP=0x%p len=%d",
                         static_cast<const void*>(l_Data), static_cast<const void*>(l_Data), 5),
                   Trace("ENTITYCAPTURE :: ReceivedSDRData lod=%i TotalSoFar=%i SDRLen=%i", 5, 5, 25),
                   Trace("ENTITYCAPTURE :: ReceivedSDRData Calc more data NFS=%i", 20),
                   Trace("ENTITYCAPTURE :: ReceivedSDRData Calc more data - IPMI Limit NFS=%i", 16),
                   Trace("ENTITYCAPTURE :: SendGetSDRData - RecordID= %d offset=%d len=%d", 0, 5, 16)});
    EXPECT_EQ(State(), 10);
    m_Log.Clear();
    Fake().DeliverReply(Reply(0xFFFF, l_Record, 5, 16));
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedSDRData Writing SDRdata=0x%p WP=0x%p len=%d",
                         static_cast<const void*>(l_Data), static_cast<const void*>(l_Data + 5), 16),
                   Trace("ENTITYCAPTURE :: ReceivedSDRData lod=%i TotalSoFar=%i SDRLen=%i", 16, 21, 25),
                   Trace("ENTITYCAPTURE :: ReceivedSDRData Calc more data NFS=%i", 4),
                   Trace("ENTITYCAPTURE :: SendGetSDRData - RecordID= %d offset=%d len=%d", 0, 21, 4)});
    ExpectNotLogged("ENTITYCAPTURE :: ReceivedSDRData Calc more data - IPMI Limit");
    ExpectNotLogged("ENTITYCAPTURE :: ReceivedSDRData New Record!");
    m_Log.Clear();
    Fake().DeliverReply(Reply(0xFFFF, l_Record, 21, 4));
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedSDRData lod=%i TotalSoFar=%i SDRLen=%i", 4, 25, 25));
}

TEST_F(ProbeSDRWalk, GoesFromRecordToRecordUpToTheLast) {
    Begin();
    Fake().DeliverReply(Reply(0x0102, Record(0, 0x01, 0), 0, 5));
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedSDRData Switching to Record %d", 0x0102));
    EXPECT_EQ(Requests().back(), "0A 23 34 12 02 01 00 05");
    EXPECT_EQ(State(), 10);
    EXPECT_FALSE(IsOver());
    Fake().DeliverReply(Reply(0xFFFF, Record(0x0102, 0x11, 0), 0, 5));
    EXPECT_THAT(g_SDRMAP, ElementsAre(testing::Key(0), testing::Key(0x0102)));
    EXPECT_EQ(Kept(0x0102).m_RecordID, 0x0102);
    EXPECT_EQ(Kept(0x0102).m_RecordType, 0x11);
    EXPECT_TRUE(IsOver());
    EXPECT_EQ(State(), 0);
    EXPECT_EQ(Fake().Outstanding(), 0U);
    ExpectLogged(Trace("IPMITHREAD :: EntityCaptured - entity map size=%i", 0));
}

TEST_F(ProbeSDRWalk, ReadsAKnownRecordAnew) {
    Begin();
    const BYTES l_First = Record(0, 0x12, 3);
    Fake().DeliverReply(Reply(0xFFFF, l_First, 0, 5));
    Fake().DeliverReply(Reply(0xFFFF, l_First, 5, 3));
    const SDR* l_Known = &Kept(0);
    Begin();
    const BYTES l_Again = Record(0, 0x12, 2);
    Fake().DeliverReply(Reply(0xFFFF, l_Again, 0, 5));
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedSDRData existing Recordid=%i", 0));
    ExpectNotLogged("ENTITYCAPTURE :: ReceivedSDRData New Record!");
    Fake().DeliverReply(Reply(0xFFFF, l_Again, 5, 2));
    EXPECT_EQ(g_SDRMAP.size(), 1U);
    EXPECT_EQ(&Kept(0), l_Known);
    EXPECT_EQ(Kept(0).m_Received, 7);
    EXPECT_EQ(ToHex({Kept(0).m_Data.get(), Kept(0).m_Data.get() + 7}), ToHex(l_Again));
}

TEST_F(ProbeSDRWalk, BytesBehindTheRecordsLengthAreReportedAndDropped) {
    Begin();
    Fake().DeliverReply(Reply(0xFFFF, Record(0, 0x12, 4), 0, 5));
    m_Log.Clear();
    Fake().DeliverReply({0, 0xFF, 0xFF, 1, 2, 3, 4, 5, 6, 7});
    ExpectLogged(Trace("ERROR - ENTITYCAPTURE :: ReceivedSDRData lod=%i TotalSoFar=%i SDRLen=%i", 7, 12, 9));
    EXPECT_EQ(Kept(0).m_Received, 9);
    EXPECT_EQ(ToHex({Kept(0).m_Data.get(), Kept(0).m_Data.get() + 9}), "00 00 51 12 04 01 02 03 04");
    EXPECT_TRUE(IsOver());
}

TEST_F(ProbeSDRWalk, HeaderWithBytesBehindItIsTakenAsFarAsTheRecordGoes) {
    Begin();
    BYTES l_Reply = Reply(0xFFFF, Record(0, 0x12, 0), 0, 5);
    l_Reply.resize(255, 0x77);
    Fake().DeliverReply(l_Reply);
    ExpectLogged(Trace("ERROR - ENTITYCAPTURE :: ReceivedSDRData lod=%i TotalSoFar=%i SDRLen=%i", 252, 252, 5));
    EXPECT_EQ(Kept(0).m_Received, 5);
}

TEST_F(ProbeSDRWalk, LongestRecordIsReadWhole) {
    Begin();
    const BYTES l_Record = Record(0, 0x12, 255);
    Fake().DeliverReply(Reply(0xFFFF, l_Record, 0, 5));
    for (std::size_t l_From = 5; l_From < 260; l_From += 16) {
        ASSERT_EQ(Fake().Outstanding(), 1U) << l_From;
        Fake().DeliverReply(Reply(0xFFFF, l_Record, l_From, std::min<std::size_t>(16, 260 - l_From)));
    }
    EXPECT_EQ(ToHex({Kept(0).m_Data.get(), Kept(0).m_Data.get() + 260}), ToHex(l_Record));
    EXPECT_TRUE(IsOver());
}

TEST_F(ProbeSDRWalk, EndsWhenTheReservationIsRefusedOrShort) {
    for (const BYTES& l_Reply : {BYTES{0xC1}, BYTES{}, BYTES{0}, BYTES{0, 0x34}}) {
        SetUpAgain();
        m_Probe->SendReserveSDRRepository();
        Fake().DeliverReply(l_Reply);
        EXPECT_TRUE(IsOver());
        EXPECT_EQ(Fake().SentCount(), 1U);
    }
}

TEST_F(ProbeSDRWalk, EndsWhenAPieceIsRefusedOrShort) {
    for (const BYTES& l_Reply : {BYTES{0xC5}, BYTES{}, BYTES{0}, BYTES{0, 0xFF}, BYTES{0, 0xFF, 0xFF},
                                 BYTES{0, 0xFF, 0xFF, 0x00, 0x00, 0x51, 0x12}}) {
        SetUpAgain();
        Begin();
        Fake().DeliverReply(l_Reply);
        EXPECT_TRUE(IsOver()) << ToHex(l_Reply);
        EXPECT_THAT(g_SDRMAP, IsEmpty()) << ToHex(l_Reply);
        EXPECT_EQ(Fake().Outstanding(), 0U) << ToHex(l_Reply);
    }
}

TEST_F(ProbeSDRWalk, EndsThoughTheRepositoryGoesInCircles) {
    BM_LOG_LEVEL = 0;
    m_Probe->SendReserveSDRRepository();
    Fake().DeliverReply({0, 0x34, 0x12});
    Fake().RecordRequests(false);
    Fake().OnRequest({0x0A, 0x23}, Reply(0, Record(0, 0x12, 0), 0, 5));
    Fake().DeliverReply(Reply(0, Record(0, 0x12, 0), 0, 5));
    Fake().Run(200000);
    EXPECT_TRUE(IsOver());
    EXPECT_EQ(Fake().Outstanding(), 0U);
    EXPECT_EQ(Fake().SentCount(), 1U + 0xFFFF) << "the reservation, and as many records as there can be";
    EXPECT_EQ(g_SDRMAP.size(), 1U);
}

TEST_F(ProbeSDRWalk, IsStartedByNoStepOfTheInventory) {
    ScriptController({{0, 0, 1, {2}, AreaOf16()}});
    Capture();
    for (const BYTES& l_Request : Fake().SentBytes()) {
        EXPECT_FALSE(l_Request[0] == 0x0A && (l_Request[1] == 0x22 || l_Request[1] == 0x23)) << ToHex(l_Request);
    }
    EXPECT_THAT(g_SDRMAP, IsEmpty());
}

} // namespace
