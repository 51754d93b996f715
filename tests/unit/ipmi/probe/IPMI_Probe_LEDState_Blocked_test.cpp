// LED commands that nothing answers: the caller stays blocked, by design. Each is made in a child process.
#include "ProbeFixture.h"

#include "fake/ThrowingLog.h"
#include "fake/process/BlockedChild.h"
#include "ipmi/model/IPMI_LEDState.h"

using namespace BM_ADAPTOR;

namespace {

/// What happens to the request.
enum class FATE { RefusedByOpenIPMI, Lost, LostAndTheLoggerThrows, AnsweredToAnother, Answered };

struct UNANSWERED {
    const char* m_Name;
    FATE m_Fate;
    bool m_bSet;
    CHILD_END m_End = CHILD_END::StaysBlocked;
};

void PrintTo(const UNANSWERED& a_Case, std::ostream* a_Stream) {
    *a_Stream << a_Case.m_Name;
}

class UnansweredLEDCommand : public PROBE_TEST, public testing::WithParamInterface<UNANSWERED> {
protected:
    UnansweredLEDCommand() { GiveEntity(5, 4); }

    /// In the child: what the fake does with the request. One thread is enough, it answers while it sends.
    void Prepare() {
        if (GetParam().m_Fate == FATE::LostAndTheLoggerThrows) g_Logger2 = &m_Throwing;
        if (GetParam().m_Fate == FATE::RefusedByOpenIPMI) Fake().SetSendResult(0x10000C0);
        Fake().OnRequest({0x2C}, [](const SENT_REQUEST& a_Request) -> std::optional<BYTES> {
            SENT_REQUEST l_Request = a_Request;
            if (GetParam().m_Fate == FATE::AnsweredToAnother) {
                l_Request.m_Trampoline = GetParam().m_bSet ? ENTITYCAPTURE::s_ReceivedGetPICMCLEDState
                                                           : ENTITYCAPTURE::s_ReceivedSetPICMCLEDState;
            }
            const bool l_Lost = GetParam().m_Fate == FATE::Lost || GetParam().m_Fate == FATE::LostAndTheLoggerThrows;
            if (!l_Lost) Fake().Deliver(l_Request, {0x00, 0x00, 0x01, 0xFF, 0x00, 0x03});
            return std::nullopt;
        });
    }
    void Call() {
        LED_STATE l_State;
        l_State.m_OnTime = 1;
        if (GetParam().m_bSet) m_Probe->SendSetPICMCLEDState(5, 0, &l_State);
        if (!GetParam().m_bSet) m_Probe->SendGetPICMCLEDState(5, 0, &l_State);
    }

    // The reply may still come, and its handler would find the caller's state gone.
    THROWING_LOG m_Throwing{GetParam().m_bSet ? "ENTITYCAPTURE :: SendSetPICMCLEDState - rc"
                                              : "ENTITYCAPTURE :: SendGetPICMCLEDState - rc"};
};

TEST_P(UnansweredLEDCommand, KeepsItsCallerBlocked) {
    EXPECT_EQ(CallInChild([this] { Prepare(); }, [this] { Call(); }), GetParam().m_End);
}

INSTANTIATE_TEST_SUITE_P(Fates, UnansweredLEDCommand,
                         testing::Values(UNANSWERED{"GetThatIsNotSent", FATE::RefusedByOpenIPMI, false},
                                         UNANSWERED{"SetThatIsNotSent", FATE::RefusedByOpenIPMI, true},
                                         UNANSWERED{"GetWhoseReplyIsLost", FATE::Lost, false},
                                         UNANSWERED{"SetWhoseReplyIsLost", FATE::Lost, true},
                                         UNANSWERED{"GetWhoseLoggerThrows", FATE::LostAndTheLoggerThrows, false},
                                         UNANSWERED{"SetWhoseLoggerThrows", FATE::LostAndTheLoggerThrows, true},
                                         UNANSWERED{"GetWithAnothersReply", FATE::AnsweredToAnother, false},
                                         UNANSWERED{"SetWithAnothersReply", FATE::AnsweredToAnother, true},
                                         UNANSWERED{"ButNotAnAnsweredGet", FATE::Answered, false, CHILD_END::Returned},
                                         UNANSWERED{"ButNotAnAnsweredSet", FATE::Answered, true, CHILD_END::Returned}),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

} // namespace
