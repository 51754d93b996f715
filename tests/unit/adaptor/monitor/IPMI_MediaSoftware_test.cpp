// The health monitor and the media software: the queue, the board's status, the processor's, and what else may come.
#include "adaptor/monitor/IPMI_MediaSoftware.h"

#include "adaptor/monitor/MonitorTest.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

class MediaQueue : public MEDIA_TEST {
protected:
    ~MediaQueue() override { m_Media.Close(); }

    NOTED_WAITS m_Waits;
    int m_Queue = -1;
    MEDIA_SOFTWARE m_Media{m_Board, m_Waits, m_Queue};
};

// ---- Open and Close

TEST_F(MediaQueue, IsOpenedOnTheLocalInterfaceAndBoundToTheMonitorsAddress) {
    EXPECT_EQ(m_Media.Open(), 1);
    EXPECT_THAT(FakeQueue().m_Calls, ElementsAre("qDrvSetInterface 0 0", "qQueueOpen", "qQueueBind 0x60"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(MediaQueue, RefusedInterfaceIsReported) {
    FakeQueue().m_DriverResult = -1;
    EXPECT_EQ(m_Media.Open(), 0x30019);
    EXPECT_THAT(FakeQueue().m_Calls, ElementsAre("qDrvSetInterface 0 0"));
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("qDrvSetInterface() failed in InitDriver()")));
}

TEST_F(MediaQueue, MissingHandleIsReported) {
    FakeQueue().m_OpenResult = -1;
    EXPECT_EQ(m_Media.Open(), 0x30019);
    EXPECT_THAT(FakeQueue().m_Calls, ElementsAre("qDrvSetInterface 0 0", "qQueueOpen"));
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("Fail to get MSG handle in InitDriver() ")));
}

TEST_F(MediaQueue, RefusedAddressIsReportedAndTheQueueClosed) {
    FakeQueue().m_BindResult = -1;
    EXPECT_EQ(m_Media.Open(), 0x30019);
    EXPECT_THAT(FakeQueue().m_Calls,
                ElementsAre("qDrvSetInterface 0 0", "qQueueOpen", "qQueueBind 0x60", "qQueueClose"));
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("Fail to bind MSG handle in InitDriver()")));
}

TEST_F(MediaQueue, IsClosedBeforeItIsOpenedAgain) {
    m_Media.Open();
    FakeQueue().m_Calls.clear();
    EXPECT_EQ(m_Media.Open(), 1);
    EXPECT_THAT(FakeQueue().m_Calls,
                ElementsAre("qQueueClose", "qDrvSetInterface 0 0", "qQueueOpen", "qQueueBind 0x60"));
}

TEST_F(MediaQueue, IsClosedOnce) {
    m_Media.Open();
    FakeQueue().m_Calls.clear();
    m_Media.Close();
    m_Media.Close();
    EXPECT_THAT(FakeQueue().m_Calls, ElementsAre("qQueueClose"));
    EXPECT_EQ(m_Queue, -1);
}

TEST_F(MediaQueue, WithTheLowestDescriptorIsClosed) {
    m_Queue = 0;
    m_Media.Close();
    EXPECT_THAT(FakeQueue().m_Calls, ElementsAre("qQueueClose"));
    EXPECT_EQ(m_Queue, -1);
}

// ---- Check

/// The queue is open.
class VxpCheck : public MediaQueue {
protected:
    VxpCheck() { m_Media.Open(); }

    /// The board is not live, and the processor's status is asked.
    static void BoardIsNotLive() { FakeQueue().m_Answers[Q_MSG_BOARD_STATUS] = BoardStatus(2, 0); }
};

TEST_F(VxpCheck, AsksForTheBoardsStatus) {
    EXPECT_EQ(m_Media.Check(), 1);
    ASSERT_EQ(FakeQueue().m_Sent.size(), 1U);
    EXPECT_EQ(FakeQueue().m_Sent[0].m_Type, 0x800071U);
    EXPECT_EQ(FakeQueue().m_Sent[0].m_Source, Q_ADDRESS_MONITOR);
    EXPECT_EQ(FakeQueue().m_Sent[0].m_Destination, Q_ADDRESS_VXP);
    EXPECT_THAT(FakeQueue().m_Sent[0].m_Fields, IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(VxpCheck, IsTracedWhileTracesAreOn) {
    BM_LOG_LEVEL = 3;
    m_Media.Check();
    EXPECT_THAT(Lines(), ElementsAre(LOG_LINE{7, "Media Adaptor", "Enter IsVXPLive() in Monitor Thread"}));
}

struct BOARD_STATUS {
    uint32_t m_State;
    uint32_t m_SubState;
    bool m_bLive;
};

TEST_F(VxpCheck, LiveBoardsAreToldFromOthersByStateAndSubState) {
    FakeQueue().m_Answers[Q_MSG_PROC_STATUS] = ProcessorStatus(2);
    constexpr BOARD_STATUS STATUSES[] = {{0, 0, false}, {0, 3, false}, {0, 4, true},  {0, 5, true},
                                         {1, 0, true},  {1, 1, false}, {1, 3, false}, {1, 4, true},
                                         {2, 0, false}, {2, 4, false}, {3, 9, false}, {0xFFFFFFFF, 4, false},
                                         {2, 1, false}, {0, 1, false}, {1, 99, true}, {1, 0xFFFFFFFF, true}};
    for (const auto& [l_State, l_SubState, l_bLive] : STATUSES) {
        FakeQueue().m_Sent.clear();
        FakeQueue().m_Answers[Q_MSG_BOARD_STATUS] = BoardStatus(l_State, l_SubState);
        EXPECT_EQ(m_Media.Check(), 1); // the processor is well in any case
        EXPECT_EQ(FakeQueue().m_Sent.size() == 1, l_bLive) << l_State << "/" << l_SubState;
    }
}

TEST_F(VxpCheck, RequestThatIsNotAllocatedIsReported) {
    FakeQueue().m_NotAllocated = {Q_MSG_BOARD_STATUS};
    FakeQueue().m_Error = 0xBEEF;
    EXPECT_EQ(m_Media.Check(), 0x30019);
    EXPECT_THAT(Lines(), ElementsAre(MediaError("MSG allocation failure in IsVXPLive() with Error Id = beef")));
}

TEST_F(VxpCheck, RequestThatIsNotSentIsReported) {
    FakeQueue().m_NotWritten = {Q_MSG_BOARD_STATUS};
    FakeQueue().m_Error = 0xBEEF;
    EXPECT_EQ(m_Media.Check(), 0x30019);
    EXPECT_THAT(Lines(), ElementsAre(MediaError("Fail to send QBorardStatus MSG in IsVXPLive() with Error Id = beef")));
}

TEST_F(VxpCheck, SilentMediaSoftwareIsReported) {
    m_Board.m_Readable = {0};
    EXPECT_EQ(m_Media.Check(), 0x30019);
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("Waiting for 0x800072 message timed out. timeout period = 5000 ms"),
                                     MediaError("QBoardStatusReply() failed in IsVXPLive()")));
}

TEST_F(VxpCheck, BoardReplyWithoutStateOrSubStateIsNone) {
    for (const uint32_t l_Field : {Q_FIELD_BOARD_STATE, Q_FIELD_BOARD_SUB_STATE}) {
        for (const bool l_bThere : {false, true}) {
            qMsg l_Reply = BoardStatus(1, 4);
            l_Reply.m_Fields.erase(l_Field);
            if (l_bThere) l_Reply.Text(l_Field, "a text");
            FakeQueue().m_Answers[Q_MSG_BOARD_STATUS] = l_Reply;
            EXPECT_EQ(m_Media.Check(), 0x30019);
            EXPECT_THAT(Lines(), ElementsAre(MediaError("QBoardStatusReply() failed in IsVXPLive()")));
        }
    }
}

TEST_F(VxpCheck, BoardThatIsNotLiveIsAskedForItsWorstProcessor) {
    BoardIsNotLive();
    FakeQueue().m_Answers[Q_MSG_PROC_STATUS] = ProcessorStatus(2);
    EXPECT_EQ(m_Media.Check(), 1);
    ASSERT_EQ(FakeQueue().m_Sent.size(), 2U);
    const qMsg& l_Request = FakeQueue().m_Sent[1];
    EXPECT_EQ(l_Request.m_Type, 2U);
    EXPECT_EQ(l_Request.m_Source, Q_ADDRESS_MONITOR);
    EXPECT_EQ(l_Request.m_Destination, Q_ADDRESS_VXP);
    EXPECT_EQ(l_Request.m_Fields.size(), 2U);
    EXPECT_EQ(l_Request.NumberOf(0x200000), Q_ANY_PROCESSOR);
    EXPECT_EQ(l_Request.NumberOf(0x200001), 1U);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(VxpCheck, ProcessorRequestThatDoesNotGoOutIsReported) {
    BoardIsNotLive();
    FakeQueue().m_Error = 0x12;
    const auto l_Check = [&](const char* a_What) {
        EXPECT_EQ(m_Media.Check(), 0x30019) << a_What;
        EXPECT_THAT(Lines(), ElementsAre(MediaError("Fail to send MSG in IsVXPLive()with Error Id = 12"))) << a_What;
    };
    FakeQueue().m_NotAllocated = {Q_MSG_PROC_STATUS};
    l_Check("not allocated");
    FakeQueue().m_NotAllocated = {};
    for (const uint32_t l_Field : {0x200000U, 0x200001U}) {
        FakeQueue().m_NotPut = {l_Field};
        l_Check("not put");
    }
    FakeQueue().m_NotPut = {};
    FakeQueue().m_NotWritten = {Q_MSG_PROC_STATUS};
    l_Check("not written");
}

TEST_F(VxpCheck, SilenceAboutTheProcessorIsReported) {
    BoardIsNotLive();
    m_Board.m_Readable = {1, 0};
    EXPECT_EQ(m_Media.Check(), 0x30019);
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("Waiting for 0x80006a message timed out. timeout period = 5000 ms"),
                                     MediaError("QProcStatusReply() failed in IsVXPLive()")));
}

TEST_F(VxpCheck, ProcessorReplyWithoutStateIsNone) {
    BoardIsNotLive();
    FakeQueue().m_Answers[Q_MSG_PROC_STATUS] = qMsg{Q_MSG_PROC_STATUS_REPLY};
    EXPECT_EQ(m_Media.Check(), 0x30019);
    EXPECT_THAT(Lines(), ElementsAre(MediaError("QProcStatusReply() failed in IsVXPLive()")));
}

TEST_F(VxpCheck, ProcessorStateBelow2IsAFault) {
    BoardIsNotLive();
    for (const uint32_t l_State : {0U, 1U}) {
        FakeQueue().m_Answers[Q_MSG_PROC_STATUS] = ProcessorStatus(l_State)
                                                       .Number(Q_FIELD_PROCESSOR, 7)
                                                       .Number(Q_FIELD_USER_SEVERITY, 3)
                                                       .Text(Q_FIELD_ERROR_FILE, "mixer.c")
                                                       .Text(Q_FIELD_CAUSE_FILE, "dma.c");
        EXPECT_EQ(m_Media.Check(), 0x30017);
        EXPECT_THAT(Lines(),
                    ElementsAre(MediaError("Processor 7, User Severity 3, Error File mixer.c, Cause File dma.c")));
    }
}

TEST_F(VxpCheck, ProcessorStateOf2AndAboveIsNone) {
    BoardIsNotLive();
    for (const uint32_t l_State : {2U, 3U, 0xFFFFFFFFU}) {
        FakeQueue().m_Answers[Q_MSG_PROC_STATUS] = ProcessorStatus(l_State);
        EXPECT_EQ(m_Media.Check(), 1) << l_State;
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(VxpCheck, FaultIsReportedWithWhatTheReplyHas) {
    BoardIsNotLive();
    FakeQueue().m_Answers[Q_MSG_PROC_STATUS] = ProcessorStatus(0);
    EXPECT_EQ(m_Media.Check(), 0x30017);
    EXPECT_THAT(Lines(), ElementsAre(MediaError("Processor 0, User Severity 0, Error File , Cause File ")));
}

TEST_F(VxpCheck, FileNamesAreReadUpTo62Characters) {
    BoardIsNotLive();
    const std::string l_Longest(62, 'x');
    for (const std::size_t l_Length : {61U, 62U, 63U, 64U, 100'000U}) {
        FakeQueue().m_Answers[Q_MSG_PROC_STATUS] =
            ProcessorStatus(0).Text(Q_FIELD_ERROR_FILE, std::string(l_Length, 'x')).Text(Q_FIELD_CAUSE_FILE, "%s");
        m_Media.Check();
        EXPECT_THAT(Lines(), ElementsAre(MediaError("Processor 0, User Severity 0, Error File " +
                                                    l_Longest.substr(0, l_Length) + ", Cause File %s")));
    }
}

// ---- Receive

class ReplyWait : public VxpCheck {
protected:
    /// Whether a message of type 0x42 is found.
    bool Check() {
        qMsg* const l_Message = m_Media.Receive(0x42);
        const bool l_bFound = l_Message != nullptr;
        EXPECT_TRUE(!l_bFound || qMsgType(l_Message) == 0x42);
        qMsgFree(l_Message);
        return l_bFound;
    }
};

TEST_F(ReplyWait, GivesTheExpectedMessageToTheCaller) {
    FakeQueue().Receive({0x42});
    EXPECT_TRUE(Check());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ReplyWait, Waits5SecondsForTheQueue) {
    m_Board.m_Readable = {0};
    EXPECT_FALSE(Check());
    EXPECT_THAT(m_Board.ReadWaits(), ElementsAre(Pair(m_Queue, 5000)));
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("Waiting for 0x42 message timed out. timeout period = 5000 ms")));
}

TEST_F(ReplyWait, IsAWaitOfTheMonitorsOwnUntilTheBoardAnswers) {
    m_Board.m_Readable = {0};
    Check();
    EXPECT_THAT(m_Waits.m_Noted, ElementsAre(true, false));
}

TEST_F(ReplyWait, DescriptorThatCannotBeWaitedForIsReported) {
    m_Board.m_Readable = {-1};
    EXPECT_FALSE(Check());
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("checkMessage() select failed")));
}

TEST_F(ReplyWait, FailedReadIsReported) {
    FakeQueue().m_bNotRead = true;
    FakeQueue().Receive({0x42});
    EXPECT_FALSE(Check());
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("checkMessage() qMsgRead failed.")));
}

TEST_F(ReplyWait, ReadWithoutAMessageIsReported) {
    FakeQueue().m_bReadsNothing = true;
    FakeQueue().Receive({0x42});
    EXPECT_FALSE(Check());
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("checkMessage() qMsgRead failed.")));
}

TEST_F(ReplyWait, ResultErrorIsReportedWithItsCodeAndSender) {
    FakeQueue().Receive(qMsg{Q_MSG_RESULT_ERROR, 64}.Number(0x380000, 0xABC));
    EXPECT_FALSE(Check());
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("Received QResultError message (ERROR code=0xabc) from 64"),
                                     MonitorError("Processor status message reply failed")));
}

TEST_F(ReplyWait, StandardErrorIsReportedWithItsNumbers) {
    FakeQueue().Receive(qMsg{Q_MSG_STANDARD_ERROR}
                            .Number(Q_FIELD_STANDARD_ERROR_MSG, 0x800071)
                            .Number(Q_FIELD_STANDARD_ERROR_CODE, 0x11)
                            .Number(Q_FIELD_STANDARD_ERROR_DATA, 0xA)
                            .Number(Q_FIELD_STANDARD_ERROR_DATA + 1, 0xB)
                            .Number(Q_FIELD_STANDARD_ERROR_DATA + 2, 0xC)
                            .Number(Q_FIELD_STANDARD_ERROR_DATA + 3, 0xD));
    EXPECT_FALSE(Check());
    EXPECT_THAT(Lines(),
                ElementsAre(MonitorError("Received standard ERROR message\nerror_msg=0x800071, error_code=0x11,"
                                         "data[0]=0xa data[1]=0xb, data[2]=0xc, data[3]=0xd")));
}

TEST_F(ReplyWait, AnyOtherMessageIsReportedAndTheNextOneNotRead) {
    FakeQueue().Receive({0x43});
    FakeQueue().Receive({0x42});
    EXPECT_FALSE(Check());
    EXPECT_THAT(Lines(),
                ElementsAre(MonitorError("Unexpected msg (msgtype = 0x43) received. expecting msgtype = 0x42")));
    EXPECT_TRUE(Check());
}

} // namespace
