// The LED commands' replies, delivered by hand: while a host thread waits, while none does, and after an exception.
#include "LEDCommandFixture.h"

#include "fake/ThrowingLog.h"

#include <memory>
#include <stdexcept>
#include <thread>

using namespace BM_ADAPTOR;

namespace {

class ProbeLEDReply : public PROBE_TEST {
protected:
    ProbeLEDReply() { GiveEntity(5, 4); }
    ~ProbeLEDReply() override {
        if (m_Host.joinable()) m_Host.join();
    }

    void StartGet() {
        m_Host = std::thread([this] { m_Result = m_Probe->SendGetPICMCLEDState(5, 2, &m_State); });
        WaitUntilSent(1);
    }
    void StartSet() {
        m_State = Setting(1, 0);
        m_Host = std::thread([this] { m_Result = m_Probe->SendSetPICMCLEDState(5, 2, &m_State); });
        WaitUntilSent(1);
    }
    static void WaitUntilSent(std::size_t a_Count) {
        while (Fake().SentCount() < a_Count)
            std::this_thread::yield();
    }
    int Result() {
        m_Host.join();
        return m_Result;
    }
    void Deliver(ipmi_addr_response_handler_t a_Trampoline, const char* a_Reply) {
        SENT_REQUEST l_Request;
        l_Request.m_Trampoline = a_Trampoline;
        l_Request.m_Data1 = m_Probe.get();
        Fake().Deliver(l_Request, Hex(a_Reply));
    }

    LED_STATE m_State;
    int m_Result = -2;
    std::thread m_Host;
};

TEST_F(ProbeLEDReply, OfAnotherRequestLeavesTheCallerWaiting) {
    StartGet();
    EXPECT_EQ(State(), 12);
    Deliver(ENTITYCAPTURE::s_ReceivedSetPICMCLEDState, "C1");
    Deliver(ENTITYCAPTURE::s_ReceivedPICMCLEDProps, "00 00 0F 00");
    Deliver(ENTITYCAPTURE::s_ReceivedFRUControl, "00 00");
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedSetPICMCLEDState -- incorrect State\n"));
    EXPECT_EQ(State(), 12);
    Fake().DeliverReply(Hex("00 00 01 FF 00 03"));
    EXPECT_EQ(Result(), 1);
    EXPECT_EQ(m_State.m_Color, 3);
}

TEST_F(ProbeLEDReply, OfAFruControlSentMeanwhileIsTakenAndLeavesTheCallerWaiting) {
    StartSet();
    EXPECT_EQ(State(), 13);
    m_Probe->SendFRUControl(5, 0);
    EXPECT_EQ(State(), 13);
    Deliver(ENTITYCAPTURE::s_ReceivedFRUControl, "C1");
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedFRUControl CC=0xc1"));
    EXPECT_EQ(State(), 13);
    Fake().DeliverReply(Hex("00 00"));
    EXPECT_EQ(Result(), 0);
    EXPECT_EQ(State(), 0);
}

TEST_F(ProbeLEDReply, AFruControlBeforeDoesNotDisturbTheCommand) {
    m_Probe->SendFRUControl(5, 0);
    EXPECT_EQ(State(), 14);
    m_Host = std::thread([this] { m_Result = m_Probe->SendGetPICMCLEDState(5, 2, &m_State); });
    WaitUntilSent(2);
    Fake().DeliverReply(Hex("00 00"));
    Fake().DeliverReply(Hex("00 00 01 FF 00 03"));
    EXPECT_EQ(Result(), 1);
}

TEST_F(ProbeLEDReply, TheSecondOneChangesNothing) {
    StartGet();
    const SENT_REQUEST l_Request = Fake().Sent().back();
    Fake().DeliverReply(Hex("00 00 01 FF 00 03"));
    EXPECT_EQ(Result(), 1);
    m_State.m_Color = 77;
    Fake().Deliver(l_Request, Hex("00 00 01 FF 00 02"));
    EXPECT_EQ(m_State.m_Color, 77);
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedGetPICMCLEDState -- incorrect State\n"));
    m_Host = std::thread([this] { m_Result = m_Probe->SendSetPICMCLEDState(5, 2, &m_State); });
    WaitUntilSent(2);
    Fake().Deliver(l_Request, Hex("00 00 01 FF 00 02"));
    EXPECT_EQ(State(), 13) << "and does not release the next command";
    Fake().DeliverReply(Hex("D5"));
    EXPECT_EQ(Result(), 0xD5);
}

TEST_F(ProbeLEDReply, WhileNoneIsWaitedForChangesNothing) {
    Deliver(ENTITYCAPTURE::s_ReceivedGetPICMCLEDState, "00 00 01 FF 00 03");
    Deliver(ENTITYCAPTURE::s_ReceivedSetPICMCLEDState, "00 00");
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedGetPICMCLEDState -- incorrect State\n"),
                   Trace("ENTITYCAPTURE :: ReceivedSetPICMCLEDState -- incorrect State\n")});
    EXPECT_EQ(State(), 0);
    StartGet(); // it would come back at once if the reply had been kept
    EXPECT_EQ(State(), 12);
    Fake().DeliverReply(Hex("C1"));
    EXPECT_EQ(Result(), 0);
}

// ---- an exception out of the middle of a command

class ProbeLEDException : public ProbeLEDReply {
protected:
    /// One command on its host thread, with a state that is gone when it has ended; what it threw is dropped.
    void Start(bool a_bSet) {
        m_Host = std::thread([this, a_bSet] {
            const auto l_State = std::make_unique<LED_STATE>(Setting(1, 0));
            try {
                m_Result = a_bSet ? m_Probe->SendSetPICMCLEDState(5, 2, l_State.get())
                                  : m_Probe->SendGetPICMCLEDState(5, 2, l_State.get());
            } catch (const std::runtime_error&) {
                m_bThrown = true;
            }
        });
    }
    void ExpectTheNextCommandsWork() {
        g_Logger2 = &m_Log;
        const std::size_t l_Sent = Fake().SentCount();
        m_Host = std::thread([this] { m_Result = m_Probe->SendGetPICMCLEDState(5, 1, &m_State); });
        WaitUntilSent(l_Sent + 1);
        Fake().DeliverReply(Hex("00 00 01 FF 00 03"));
        EXPECT_EQ(Result(), 1);
        EXPECT_EQ(m_State.m_Color, 3);
    }

    bool m_bThrown = false; ///< once joined
};

// Before the reply is there, its handler may still write into the caller's state: the exception waits for it.
TEST_F(ProbeLEDException, AfterSendingLeavesNoStateThatIsGone) {
    for (const bool l_bSet : {false, true}) {
        THROWING_LOG l_Log(l_bSet ? "ENTITYCAPTURE :: SendSetPICMCLEDState - rc"
                                  : "ENTITYCAPTURE :: SendGetPICMCLEDState - rc");
        SetUpAgain();
        GiveEntity(5, 4);
        g_Logger2 = &l_Log;
        Start(l_bSet);
        WaitUntilSent(1);
        Fake().DeliverReply(Hex("00 00 01 FF 00 03"));
        m_Host.join();
        EXPECT_EQ(ACCESS::LEDCommandState(*m_Probe), nullptr);
        EXPECT_EQ(State(), 0);
        ExpectTheNextCommandsWork();
    }
}

TEST_F(ProbeLEDException, OutOfSendingLeavesNothingOutstanding) {
    for (const bool l_bSet : {false, true}) {
        SetUpAgain();
        GiveEntity(5, 4);
        Fake().OnRequest(
            {0x2C}, [](const SENT_REQUEST&) -> std::optional<BYTES> { throw std::runtime_error("not sent"); }, 1);
        Start(l_bSet);
        m_Host.join();
        EXPECT_TRUE(m_bThrown);
        EXPECT_EQ(ACCESS::LEDCommandState(*m_Probe), nullptr);
        EXPECT_EQ(State(), 0);
        ExpectTheNextCommandsWork();
    }
}

} // namespace
