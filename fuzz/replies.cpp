// A controller's replies into the probe: any bytes to any handler in any order, lost ones, doubled ones, those of
// others. An input is a byte of wishes, the inventory area of all FRUs, then steps. A request that the input does not
// answer stays without a reply, and the probe would wait for ever; there the input ends. An LED command always gets a
// reply, since its caller waits for it.
#include "readers/UsualController.h"
#include "support/Bytes.h"
#include "support/Require.h"
#include "support/SilentLog.h"

#include "fake/TestAccess.h"
#include "fake/openipmi/FakeOpenIPMI.h"
#include "fake/openipmi/ModelReset.h"
#include "ipmi/IPMI_Probe.h"
#include "ipmi/IPMI_Thread.h"
#include "ipmi/LiveMemory.h"
#include "ipmi/model/IPMI_LEDState.h"

#include <algorithm>
#include <iterator>

using namespace BM_ADAPTOR;
using namespace fuzzing;
using Access = IPMI_TEST_ACCESS;

namespace {

// What may be held at the end of a talk: for each FRU that told a size its area, for each FRU its entity, and for each
// request what this target notes, with the reply's record.
constexpr std::size_t MostOfArea = 68U << 10;
constexpr std::size_t MostOfFru = 2U << 10;
constexpr std::size_t MostOfRequest = 2U << 10;
constexpr std::size_t MostBesides = 32U << 10;

constexpr ipmi_addr_response_handler_t Handlers[] = {
    ENTITYCAPTURE::s_ReceivedPICMCProperties,   ENTITYCAPTURE::s_ReceivedPICMCAddrInfo,
    ENTITYCAPTURE::s_ReceivedDeviceID,          ENTITYCAPTURE::s_ReceivedPICMCLEDProps,
    ENTITYCAPTURE::s_ReceivedPICMCLEDColorCaps, ENTITYCAPTURE::s_ReceivedFRUSize,
    ENTITYCAPTURE::s_ReceivedFRUChunk,          ENTITYCAPTURE::s_ReceivedReserveSDRRepository,
    ENTITYCAPTURE::s_ReceivedSDRData,           ENTITYCAPTURE::s_ReceivedGetPICMCLEDState,
    ENTITYCAPTURE::s_ReceivedSetPICMCLEDState,  ENTITYCAPTURE::s_ReceivedFRUControl,
};

unsigned ColorsOf(const IPMI_LED& led) {
    return led.m_bBlue << 1 | led.m_bRed << 2 | led.m_bGreen << 3 | led.m_bAmber << 4 | led.m_bOrange << 5 |
           led.m_bWhite << 6;
}

SeenFru SeenIn(const IPMI_ENTITY& entity) {
    SeenFru seen{entity.m_EntityID, entity.m_BayLocation, entity.m_SiteValue, entity.m_IPMB0Address, {}, {}, {}};
    for (const auto& [id, led] : entity.m_LEDMap)
        seen.m_ledColors.push_back(ColorsOf(*led));
    if (const IPMI_MC* mc = entity.FirstMC())
        seen.m_device = std::to_string(mc->m_MajorFWRevision) + '.' + std::to_string(mc->m_MinorFWRevision) + ':' +
                        mc->m_AuxFWRevision;
    if (const IPMI_FRU* fru = entity.FirstFRU()) seen.m_texts = TextsOf(*fru);
    return seen;
}

class Talk {
public:
    explicit Talk(Bytes input) : m_input(input), m_log((m_input.Byte() & 1) != 0) {
        m_area = m_input.Some(std::size_t{m_input.Byte()} * 4);
        MendHeaderOf(m_area);
        Fake().Reset();
        Fake().RecordRequests(false);
        Fake().OnRequest({}, [this](const SENT_REQUEST& request) -> std::optional<BYTES> {
            m_requests.push_back(request);
            if (request.m_Trampoline == ENTITYCAPTURE::s_ReceivedGetPICMCLEDState ||
                request.m_Trampoline == ENTITYCAPTURE::s_ReceivedSetPICMCLEDState)
                AnswerLedCommand(request);
            return std::nullopt; // delivered step by step
        });
        m_startup.Lock();
    }
    Talk(const Talk&) = delete;
    Talk& operator=(const Talk&) = delete;
    ~Talk() { Fake().Reset(); }

    void Run() {
        m_probe.StartCapture();
        while (!m_input.IsEmpty()) {
            Step();
            CheckWait();
        }
        CheckModel();
        CheckRecords();
    }

private:
    int State() { return Access::State(m_probe); }
    bool IsOver() { return Access::bHandedOver(m_probe); }

    void Step() {
        switch (m_input.Choice(16)) {
        case 10:
            return Stray();
        case 11:
            return IsOver() ? ReadLed() : Ask();
        case 12:
            return IsOver() ? SetLed() : Ask();
        case 13:
            m_probe.SendFRUControl(m_input.Byte(), m_input.Byte());
            return;
        case 14:
            if (IsOver()) m_probe.SendReserveSDRRepository();
            return;
        case 15: // of an older request, or the same one again
            return Deliver(m_requests[m_requests.size() - 1 - m_input.Choice(std::min(16U, Count()))], Answer());
        default:
            return Deliver(m_requests.back(), Answer());
        }
    }

    unsigned Count() const { return static_cast<unsigned>(m_requests.size()); }

    // The answer to the last request, or what becomes of it on its way.
    Message Answer() {
        Message answer = UsualAnswer(m_requests.back().Bytes(), m_area);
        const unsigned accident = m_input.Choice(16);
        if (accident == 1) answer[0] = m_input.Byte();
        if (accident == 2) answer.resize(m_input.Choice(static_cast<unsigned>(answer.size()) + 1));
        if (accident == 3) answer[m_input.Choice(static_cast<unsigned>(answer.size()))] = m_input.Byte();
        if (accident == 4) answer = m_input.Some(m_input.Choice(64));
        return answer;
    }

    void Stray() {
        SENT_REQUEST request = m_requests.back();
        request.m_Trampoline = Handlers[m_input.Choice(std::size(Handlers))];
        Deliver(request, Answer());
    }

    // A step of the inventory out of turn.
    void Ask() {
        const int fru = m_input.Byte();
        switch (m_input.Choice(5)) {
        case 0:
            m_probe.SendGetPICMCAddrInfo(fru);
            break;
        case 1:
            m_probe.SendGetPICMCLEDProps(fru);
            break;
        case 2:
            m_probe.SendGetPICMCLEDColorCaps(fru, m_input.Byte());
            break;
        case 3:
            m_probe.SendGetFRUSize(fru);
            break;
        default:
            m_probe.SendGetFRUChunk(fru, m_input.Byte() * 16);
        }
    }

    // The reader hears what the probe waits for, and nothing else.
    void Deliver(const SENT_REQUEST& request, const Message& reply) {
        const bool awaited = State() >= PROBE_PICMG_PROPERTIES && State() <= PROBE_FRU_CHUNK &&
                             request.m_Trampoline == Handlers[State() - PROBE_PICMG_PROPERTIES];
        if (request.m_Trampoline == ENTITYCAPTURE::s_ReceivedFRUSize) ++m_sizes;
        if (awaited) m_reader.Hear(m_requests.back().Bytes(), reply);
        Fake().Deliver(request, reply);
    }

    // Strays do not end it.
    void AnswerLedCommand(const SENT_REQUEST& request) {
        for (unsigned strays = m_input.Choice(4); strays > 0; --strays) {
            SENT_REQUEST other = request;
            other.m_Trampoline = Handlers[m_input.Choice(std::size(Handlers) - 3)];
            Fake().Deliver(other, Answer());
        }
        m_ledAnswer = Answer();
        Fake().Deliver(request, m_ledAnswer);
        Fake().Deliver(request, Answer()); // once more, when nobody waits
    }

    std::size_t LedsOf(int fru) const {
        const auto found = m_reader.Frus().find(fru);
        return found != m_reader.Frus().end() ? found->second.m_ledColors.size() : 0;
    }

    void ReadLed() {
        const int fru = m_input.Byte();
        const int led = m_input.Choice(6);
        LED_STATE state;
        state.m_Color = 77;
        const auto before = Count();
        const int result = m_probe.SendGetPICMCLEDState(fru, led, &state);
        if (static_cast<std::size_t>(led) >= LedsOf(fru)) {
            Require(result == -1 && Count() == before && state.m_Color == 77, "an LED that is not there was read");
            return;
        }
        const auto seen = LedOf(m_ledAnswer);
        Require(result == (seen ? 1 : 0), "LED read with " + std::to_string(result));
        if (!seen) {
            Require(state.m_Valid == 0 && state.m_Color == 77, "a refused read of an LED left something");
            return;
        }
        Require(state.m_LocalControl == seen->m_localControl && state.m_OnTime == seen->m_onTime &&
                    state.m_OffTime == seen->m_offTime && state.m_LampTestDuration == seen->m_lampTest,
                "another state of the LED");
        Require(seen->m_lampTest != 0 || m_ledAnswer[2] & 4 || state.m_Color == seen->m_color, "another colour");
    }

    void SetLed() {
        const int fru = m_input.Byte();
        const int led = m_input.Choice(6);
        LED_STATE state;
        state.m_LocalControl = m_input.Choice(2);
        state.m_OnTime = static_cast<int>(m_input.Number());
        state.m_OffTime = static_cast<int>(m_input.Number());
        state.m_Color = static_cast<int8_t>(m_input.Byte());
        const Message setting = LedSetting(state.m_LocalControl, state.m_OnTime, state.m_OffTime, state.m_Color);
        const auto before = Count();
        const int result = m_probe.SendSetPICMCLEDState(fru, led, &state);
        if (static_cast<std::size_t>(led) >= LedsOf(fru)) {
            Require(result == -1 && Count() == before, "an LED that is not there was set");
            return;
        }
        Require(result == (m_ledAnswer.empty() ? 0xFF : m_ledAnswer[0]), "LED set with " + std::to_string(result));
        Message expected = {0x2C, 0x07, 0, static_cast<uint8_t>(fru), static_cast<uint8_t>(led)};
        expected.insert(expected.end(), setting.begin(), setting.end());
        Require(m_requests.back().Bytes() == expected, "another setting of the LED");
    }

    // The state is that of the request sent last, as long as its reply is awaited.
    void CheckWait() {
        const int state = State();
        if (state < PROBE_PICMG_PROPERTIES || state > PROBE_FRU_CHUNK) return;
        const auto last = std::find_if(m_requests.rbegin(), m_requests.rend(), [](const SENT_REQUEST& request) {
            return request.m_Trampoline != ENTITYCAPTURE::s_ReceivedFRUControl;
        });
        Require(last->m_Trampoline == Handlers[state - PROBE_PICMG_PROPERTIES],
                "waits in state " + std::to_string(state) + " for another request's reply");
        if (last != m_requests.rbegin()) m_requests.push_back(*last); // it is still the one to answer
    }

    void CheckModel() {
        const auto& entities = Access::FRUEntities(m_probe);
        Require(entities.size() == m_reader.Frus().size(),
                std::to_string(entities.size()) + " FRUs, expected " + std::to_string(m_reader.Frus().size()));
        for (const auto& [id, entity] : entities) {
            const auto found = m_reader.Frus().find(id);
            Require(found != m_reader.Frus().end() && SeenIn(*entity) == found->second,
                    "FRU " + std::to_string(id) + " is another one than the controller told");
            Require(!IsOver() || g_EntityMap.contains(entity->Address()), "a FRU is not in the model");
        }
        Require(IsOver() || g_EntityMap.empty(), "the model shows FRUs before the inventory is over");
    }

    void CheckRecords() {
        for (const auto& [id, record] : g_SDRMAP)
            Require(record->m_Received <= record->m_Length && record->m_RecordID == id, "a record beyond its length");
        const std::size_t most = std::min<std::size_t>(m_sizes, 256) * MostOfArea +
                                 Access::FRUEntities(m_probe).size() * MostOfFru + Count() * MostOfRequest +
                                 MostBesides;
        Require(LiveBytes() < m_memoryBefore + most, "too much memory is held");
    }

    Bytes m_input;
    SilentLog m_log;
    const std::size_t m_memoryBefore = LiveBytes();
    Area m_area;
    std::vector<SENT_REQUEST> m_requests;
    unsigned m_sizes = 0; ///< how often a size was told
    Message m_ledAnswer;
    ProbeReader m_reader;
    OSAL::OSALMutex m_startup;
    IPMITHREAD m_thread{&m_log, &m_startup};
    ENTITYCAPTURE m_probe{Fake().Domain(), &m_thread, &m_log};
};

// The bytes that are left of a talk when the model is deleted.
std::size_t LeftOf(const uint8_t* data, std::size_t size) {
    const std::size_t before = LiveBytes();
    Talk(Bytes(data, size)).Run();
    ResetModel();
    const std::size_t after = LiveBytes();
    return after > before ? after - before : 0;
}

} // namespace

// What is made at first use and kept is not left a second time.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (LeftOf(data, size) == 0) return 0;
    const std::size_t left = LeftOf(data, size);
    Require(left == 0, std::to_string(left) + " bytes are left");
    return 0;
}
