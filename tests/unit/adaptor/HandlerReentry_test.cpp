// A host's logger that calls the adaptor back from every line of every handler: nothing is locked while a line is
// written, so that each call ends, and gives what it gives with any other logger.
#include "adaptor/BoardTest.h"
#include "adaptor/leds/LedTest.h"

#include "common/veldo_common_rows.h"
#include "common/veldo_common_text.h"
#include "ipmi/model/IPMI_Callback.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <mutex>
#include <set>
#include <string_view>
#include <thread>
#include <utility>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;

namespace {

thread_local bool t_bInside = false; // this thread is in a call that a line made: its own lines make none

/// Keeps the lines that are written outside of such a call. A line that comes again makes no further calls: the tables
/// write those of their rows, over and over.
class REENTERING_LOG : public RECORDING_LOG {
public:
    void Log(int a_Level, const char* a_Component, const char* a_Text) override {
        if (t_bInside) return;
        RECORDING_LOG::Log(a_Level, a_Component, a_Text);
        if (!m_Reenter || !IsNew(a_Text)) return;
        t_bInside = true;
        m_Reenter(a_Text);
        t_bInside = false;
    }

    std::function<void(const char*)> m_Reenter{}; ///< set while nobody logs

private:
    bool IsNew(const char* a_Text) {
        const std::lock_guard l_Guard(m_Guard);
        return m_Known.insert(a_Text).second;
    }

    std::mutex m_Guard;
    std::set<std::string> m_Known;
};

using PAIRS = std::vector<std::pair<unsigned, int32_t>>;

/// One call of the host's; its keys and values are integers.
struct CALL {
    enum KIND { READ, TABLE, WRITE };
    KIND m_Kind;
    unsigned m_Group;
    PAIRS m_Keys{};
    PAIRS m_Values{};

    /// Waits for the domain thread, so that no line of an LED command's own and none of that thread can make it.
    bool IsLEDCommand() const {
        return m_Group == 0x100 || m_Group == 0x200 || m_Group == 0x30100 || m_Group == 0x30300;
    }
    /// Comes to nothing but the model and the run status: also the domain thread may make it while the host's run.
    bool IsOfTheModel() const {
        return m_Group == 0x300 || m_Group == 0x400 || m_Group == 0x30200 || (m_Group == 0x30000 && m_Kind == READ);
    }
};

const PAIRS GREEN_ON_BOARD = {{0x10C, 3}, {0x102, 1}, {0x103, 0}, {0x105, 1}};
const PAIRS DEFAULT_ON_AMC = {{0x202, 1}, {0x203, 0}, {0x205, 1}};

const std::vector<CALL> ROW_CALLS = {
    {CALL::READ, 0x100, {{0x101, 2}}},
    {CALL::READ, 0x200, {{0x201, 2}, {0x20D, 4}}},
    {CALL::READ, 0x200, {{0x201, 2}, {0x20D, 6}}}, // a light
    {CALL::READ, 0x300, {{0x303, 4}}},
    {CALL::READ, 0x300, {{0x303, 5}}}, // nothing there
    {CALL::READ, 0x300, {{0x303, 6}}}, // without a FRU
    {CALL::READ, 0x400},
    {CALL::READ, 0x600},
    {CALL::READ, 0x1200, {{0x1201, 4}, {0x1202, 1}}},
    {CALL::READ, 0x1200, {{0x1201, 6}, {0x1202, 1}}},
    {CALL::READ, 0x30000},
    {CALL::READ, 0x30100, {{0x30101, 3}}},
    {CALL::READ, 0x30200, {{0x30201, 4}}},
    {CALL::READ, 0x30200, {{0x30201, 9}}},
    {CALL::READ, 0x30200, {{0x30201, 6}}},
    {CALL::READ, 0x30300, {{0x30301, 4}, {0x30302, 1}}},
    {CALL::READ, 0x30300, {{0x30301, 5}, {0x30302, 1}}},
    {CALL::READ, 0x30d10, {{0x30d12, 1}}},
    {CALL::READ, 0x30e00, {{0x30e02, 1}}},
    {CALL::WRITE, 0x100, {{0x101, 2}}, GREEN_ON_BOARD},
    {CALL::WRITE, 0x200, {{0x201, 2}, {0x20D, 4}}, DEFAULT_ON_AMC},
    {CALL::WRITE, 0x600, {}, {{0x601, 1}}},
    {CALL::WRITE, 0x30000},
    {CALL::WRITE, 0x30100, {{0x101, 3}}, {{0x102, 1}, {0x103, 0}, {0x105, 1}}},
    {CALL::WRITE, 0x30200, {{0x30201, 4}}, {{0x30208, 4}}},
    {CALL::WRITE, 0x30300, {{0x201, 2}, {0x20D, 4}}, DEFAULT_ON_AMC},
    {CALL::WRITE, 0x30d10, {{0x30d12, 1}}},
    {CALL::WRITE, 0x30e00, {{0x30e02, 1}}},
};

constexpr unsigned TABLES[] = {0x100,   0x200,   0x300,   0x400,   0x600,   0x1200,
                               0x30000, 0x30100, 0x30200, 0x30300, 0x30d10, 0x30e00};

std::vector<CALL> AllCalls() {
    std::vector<CALL> l_Calls = ROW_CALLS;
    for (const unsigned l_Group : TABLES)
        l_Calls.push_back({CALL::TABLE, l_Group});
    return l_Calls;
}

enum MODEL { WHOLE, WITHOUT_RECORDS, WITHOUT_FRUS, EMPTY };

class HandlerReentry : public LED_TEST, public testing::WithParamInterface<MODEL> {
protected:
    HandlerReentry() {
        BoardDriver() = {};
        m_Board.m_Interfaces["eth6"] = {"192.168.0.1", {0x02, 0, 0, 0, 0, 0x10}};
        Fake().RecordRequests(false);
        Fake().OnRequest({0x2C, 0x07}, BYTES{0x00, 0x00}); // Set FRU LED State
        Fake().OnRequest({0x2C, 0x08}, LOCAL_GREEN);       // Get FRU LED State
        Fake().OnRequest({0x2C, 0x04}, BYTES{0x00, 0x00}); // FRU Control
        FillModel(GetParam());
        Access::Storage(m_Adaptor) = &m_Storage;
        Access::KnowDSPs(m_Adaptor, {{1, "02:00:00:00:00:12"}});
        CBMIParams& l_Stored = m_Storage.m_Files["telq_qub_dsp_iptable_cfg.xml"][1];
        AddKey(l_Stored, BMI_HW_AMC_DSP_EX_NUM, 1);
        AddText(l_Stored, BMI_HW_AMC_DSP_EX_IP, "192.168.0.23");
        Access::Logger(m_Adaptor) = &m_Reentering;
        g_Logger2 = &m_Reentering;
        RecordBmiLogTo(&m_Reentering);
    }

    ~HandlerReentry() override {
        RecordBmiLogTo(nullptr);
        g_Logger2 = nullptr;
    }

    /// Board, AMC and RTM with all that the tables show, or less; an AMC with a light and without a FRU, an empty
    /// entry.
    void FillModel(MODEL a_Model) {
        if (a_Model == EMPTY) return;
        g_EntityMap[{0, 0, 0, 0}] = nullptr;
        IPMI_ENTITY& l_Board = AddBoard();
        IPMI_ENTITY& l_AMC = AddAMC(4);
        AddLight(AddAMC(6), "led 1");
        IPMI_ENTITY& l_RTM = AddWithLEDs(ENTITY_ID_RTM, 9, 9);
        if (a_Model == WITHOUT_FRUS) return;
        AddFRUWithTexts(l_Board, "board");
        IPMI_FRU& l_OfAMC = AddFRUWithTexts(l_AMC, "amc");
        IPMI_FRU& l_OfRTM = AddFRUWithTexts(l_RTM, "rtm");
        if (a_Model == WITHOUT_RECORDS) return;
        AddMC(l_Board, "mc", 2, 7);
        AddMC(l_AMC, "mc", 1, 2);
        AddMultiRecord(l_OfAMC, {0x57, 0x01, 0x00, 0x02, 0x00, 1, 1, 2, 3, 4, 5, 6, 7, 0});
        AddMultiRecord(l_OfRTM, RTMRecord(1, 1, 4));
    }

    /// The call's result and what it gave.
    TEXTS Make(const CALL& a_Call) {
        CBMIKeys l_Keys = Integers<CBMIKeys>(a_Call.m_Keys);
        CBMIParams l_Values = Integers<CBMIParams>(a_Call.m_Values);
        TEXTS l_Texts;
        int l_Result = 0;
        if (a_Call.m_Kind == CALL::READ) {
            CBMIParams* l_Row = nullptr;
            l_Result = m_Adaptor.ReadParams(a_Call.m_Group, &l_Keys, l_Row);
            const std::unique_ptr<CBMIParams> l_Owner(l_Row);
            if (l_Row != nullptr) l_Texts = TextsOf(*l_Row);
        } else if (a_Call.m_Kind == CALL::TABLE) {
            CBMITable* l_Table = nullptr;
            l_Result = m_Adaptor.GetParamTable(a_Call.m_Group, l_Table);
            const std::unique_ptr<CBMITable> l_Owner(l_Table);
            for (int i = 0; l_Table != nullptr && i < l_Table->GetSize(); ++i) {
                const TEXTS l_Row = TextsOf(*l_Table->Get(i));
                l_Texts.insert(l_Texts.end(), l_Row.begin(), l_Row.end());
            }
        } else {
            l_Result = m_Adaptor.WriteParams(a_Call.m_Group, &l_Keys, &l_Values);
        }
        l_Texts.push_back("result " + std::to_string(l_Result));
        return l_Texts;
    }

    /// What all calls give, and the lines on the way: but those of the probe, which two threads write.
    std::vector<TEXTS> MakeAll() {
        std::vector<TEXTS> l_All;
        for (const auto l_State : {ADAPTOR_STARTED, ADAPTOR_INITIALISING}) {
            BeInState(l_State);
            for (const CALL& l_Call : AllCalls()) {
                TEXTS l_Texts = Make(l_Call);
                l_Texts.insert(l_Texts.begin(), FormatText("call %i of 0x%x", l_Call.m_Kind, l_Call.m_Group));
                TakeLines(l_Texts);
                l_All.push_back(std::move(l_Texts));
            }
        }
        TakeLines(l_All.emplace_back(TEXTS{FormatText("PCI driver told: %i", m_Adaptor.WriteProcFile())}));
        return l_All;
    }

    void TakeLines(TEXTS& a_Texts) {
        for (const std::string& l_Line : m_Reentering.Texts()) {
            if (!l_Line.starts_with("ENTITYCAPTURE ::") && l_Line.find("_Handler") == std::string::npos &&
                !l_Line.starts_with("LED_STATE ::"))
                a_Texts.push_back(l_Line);
        }
        m_Reentering.Clear();
    }

    /// Waits until another thread has made the call; ends the process should it hang.
    static void OnAnotherThread(const char* a_Line, const std::function<void()>& a_Call) {
        const std::future<void> l_Done = std::async(std::launch::async, [&] {
            t_bInside = true;
            a_Call();
        });
        if (l_Done.wait_for(std::chrono::seconds(60)) == std::future_status::ready) return;
        fprintf(stderr, "another thread hangs while this line is written: %s\n", a_Line);
        std::abort();
    }

    /// A change of the model, and every read and write that is possible here, by another thread and by this one.
    void Reenter(const char* a_Line) {
        ++m_Reentered;
        const bool l_Domain = std::this_thread::get_id() == m_Loop.Thread();
        const bool l_LEDCommand =
            InCallback() || std::string_view(a_Line).find("PICMCLEDState") != std::string_view::npos;
        const auto l_MakeAll = [&] {
            for (const CALL& l_Call : ROW_CALLS) {
                if (l_Domain ? l_Call.IsOfTheModel() : !l_LEDCommand || !l_Call.IsLEDCommand()) Make(l_Call);
            }
        };
        OnAnotherThread(a_Line, [&] {
            { const MODEL_WRITER l_Changes(g_EntityMapLock); }
            l_MakeAll();
        });
        l_MakeAll();
    }

    FAKE_STORAGE m_Storage;
    REENTERING_LOG m_Reentering;
    std::atomic<int> m_Reentered = 0;
};

TEST_P(HandlerReentry, OfEveryLineEndsAndChangesNothing) {
    MakeAll(); // what a first time changes: the run status, and the AMC's LED is noted as green
    const std::vector<TEXTS> l_Expected = MakeAll();
    Fake().WaitUntilIdle(); // the boards' resets are answered, and nobody logs
    m_Reentering.m_Reenter = [this](const char* a_Line) { Reenter(a_Line); };
    const std::vector<TEXTS> l_Got = MakeAll();
    Fake().WaitUntilIdle();
    m_Reentering.m_Reenter = nullptr;
    ASSERT_EQ(l_Got.size(), l_Expected.size());
    for (std::size_t i = 0; i < l_Got.size(); ++i)
        EXPECT_EQ(l_Got[i], l_Expected[i]) << l_Expected[i].front();
    EXPECT_GT(m_Reentered, 100);
}

INSTANTIATE_TEST_SUITE_P(Models, HandlerReentry, testing::Values(WHOLE, WITHOUT_RECORDS, WITHOUT_FRUS, EMPTY));

} // namespace
