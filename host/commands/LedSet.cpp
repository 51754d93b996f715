// `bmhost led set`: one LED set, refused before it is sent when it makes no sense.
#include "host/commands/LedSet.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/output/TextOutput.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/views/LedPanel.h"
#include "host/words/CompletionCode.h"
#include "host/words/Error.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace BMHOST {

namespace {

constexpr int CONTROLLER_SUCCESS = 0; // the completion code, which the adaptor passes on
constexpr int FIRST_COMPLETION_CODE = 0x80;
constexpr int LAST_COMPLETION_CODE = 0xFF;
// What a controller can be told: 10 to 250 tens of milliseconds.
constexpr int SHORTEST_TIME = 100;
constexpr int LONGEST_TIME = 2500;
constexpr int DEFAULT_TIME = 500;

constexpr const char* LED_SET_USAGE = "led set BAY LED on|off|blink|local [--color C] [--on MS --off MS]";

struct NAMED_NUMBER {
    const char* m_Name;
    int m_Number;
};

constexpr NAMED_NUMBER BAYS[] = {{"board", BASEBOARD_BAY}, {"rtm", RTM_BAY}};
constexpr NAMED_NUMBER LED_NAMES[] = {{"hot-swap", 1}, {"blue", 1}, {"out-of-service", 2}, {"health", 3}};
constexpr NAMED_NUMBER ACTIONS[] = {{"on", static_cast<int>(LED_ACTION::On)},
                                    {"off", static_cast<int>(LED_ACTION::Off)},
                                    {"blink", static_cast<int>(LED_ACTION::Blink)},
                                    {"local", static_cast<int>(LED_ACTION::Local)}};

template <std::size_t SIZE>
std::optional<int> NumberOf(const NAMED_NUMBER (&a_Table)[SIZE], const std::string& a_Name) {
    for (const NAMED_NUMBER& l_Row : a_Table) {
        if (a_Name == l_Row.m_Name) return l_Row.m_Number;
    }
    return std::nullopt;
}

std::optional<int> Digit(const std::string& a_Word, int a_First, int a_Last) {
    if (a_Word.size() != 1 || a_Word[0] < '0' + a_First || a_Word[0] > '0' + a_Last) return std::nullopt;
    return a_Word[0] - '0';
}

int Bay(const std::string& a_Word) {
    if (const auto l_Named = NumberOf(BAYS, a_Word)) return *l_Named;
    if (const auto l_Number = Digit(a_Word, FIRST_AMC_BAY, RTM_BAY)) return *l_Number;
    throw USAGE_ERROR("led set: BAY '" + a_Word + "': expected board, rtm, or a bay from 1 to 9");
}

int Led(const std::string& a_Word) {
    if (const auto l_Named = NumberOf(LED_NAMES, a_Word)) return *l_Named;
    if (const auto l_Number = Digit(a_Word, FIRST_LED, LAST_LED)) return *l_Number;
    throw USAGE_ERROR("led set: LED '" + a_Word +
                      "': expected hot-swap, out-of-service, health, or a number from 1 to 4");
}

LED_ACTION Action(const std::string& a_Word) {
    if (const auto l_Action = NumberOf(ACTIONS, a_Word)) return static_cast<LED_ACTION>(*l_Action);
    throw USAGE_ERROR("led set: '" + a_Word + "': expected on, off, blink or local");
}

int Color(const std::string& a_Word) {
    if (const auto l_Color = LedColorNumber(a_Word)) return *l_Color;
    throw USAGE_ERROR("led set: --color '" + a_Word + "': expected white, red, green, blue, amber or orange");
}

/// Options that say nothing to the action are a misunderstanding.
void CheckOptions(const CLI::App& a_App, LED_ACTION a_Action) {
    const bool l_Times = a_App.count("--on") + a_App.count("--off") > 0;
    if (l_Times && a_Action != LED_ACTION::Blink) throw USAGE_ERROR("led set: --on and --off are the times of blink");
    if (l_Times && (a_App.count("--on") == 0 || a_App.count("--off") == 0))
        throw USAGE_ERROR("led set: expected --on and --off together");
    const bool l_Lit = a_Action == LED_ACTION::On || a_Action == LED_ACTION::Blink;
    if (a_App.count("--color") > 0 && !l_Lit) throw USAGE_ERROR("led set: --color goes with on and blink only");
}

// The bay of an AMC is required by the adaptor and not looked at: it writes to the first AMC that there is.
int FirstAMC(SESSION& a_Session) {
    for (int l_Bay = FIRST_AMC_BAY; l_Bay <= LAST_AMC_BAY; ++l_Bay) {
        int l_Result = 0;
        a_Session.Row(BM_ADAPTOR::BMI_GROUP_HARDWARE_AMC_TABLE, KeyOf(BM_ADAPTOR::BMI_HW_AMC_BAY, l_Bay), l_Result);
        if (l_Result == SUCCESS) return l_Bay;
        ReadLed(a_Session, {l_Bay, FIRST_LED}, l_Result);
        if (l_Result != NOT_FOUND) return l_Bay;
    }
    return BASEBOARD_BAY;
}

LED_ROW RowOf(const LED_ORDER& a_Order) {
    switch (a_Order.m_Action) {
    case LED_ACTION::On:
        return {0, 1, 0, 0, a_Order.m_Color};
    case LED_ACTION::Off:
        return {0, 0, 1, 0, a_Order.m_Color};
    case LED_ACTION::Blink:
        return {0, a_Order.m_OnTime, a_Order.m_OffTime, 0, a_Order.m_Color};
    case LED_ACTION::Local:
        break;
    }
    return {1, 0, 1, 0, LED_NO_COLOR};
}

void RemarkTime(const char* a_Option, int a_Time, std::string& a_Remarks) {
    const int l_Sent = std::clamp(a_Time / 10 * 10, SHORTEST_TIME, LONGEST_TIME);
    if (l_Sent == a_Time) return;
    a_Remarks += std::string(a_Option) + " " + std::to_string(a_Time) + ": a controller is told " +
                 std::to_string(l_Sent) + " ms, tens of milliseconds from 100 to 2500\n";
}

std::string Refusal(int a_Result, LED_PLACE a_Place) {
    const std::string l_Which = "LED " + std::to_string(a_Place.m_LED) + " of " + LedBayText(a_Place.m_Bay) + ": ";
    if (a_Result == NOT_FOUND || a_Result == -1) return l_Which + "there is no such LED\n";
    if (a_Result >= FIRST_COMPLETION_CODE && a_Result <= LAST_COMPLETION_CODE)
        return l_Which + "the controller refused it with completion code " + CompletionCodeText(a_Result) + "\n";
    return l_Which + "the adaptor answered " + ResultText(a_Result) + "\n";
}

} // namespace

LED_ORDER ParseLedOrder(const std::vector<std::string>& a_Words) {
    CLI::App l_App("", "led");
    std::vector<std::string> l_Words;
    std::string l_Color;
    LED_ORDER l_Order;
    l_Order.m_OnTime = l_Order.m_OffTime = DEFAULT_TIME;
    l_App.set_help_flag();
    l_App.add_option("WORDS", l_Words);
    l_App.add_option("--color", l_Color);
    const CLI::Range l_Times(1, 60000);
    l_App.add_option("--on", l_Order.m_OnTime)->check(l_Times);
    l_App.add_option("--off", l_Order.m_OffTime)->check(l_Times);
    std::vector<std::string> l_Reversed(a_Words.rbegin(), a_Words.rend()); // as the library wants them
    try {
        l_App.parse(l_Reversed);
    } catch (const CLI::ParseError& l_Error) {
        throw USAGE_ERROR(std::string("led set: ") + l_Error.what());
    }
    if (l_Words.size() != 5 || l_Words[1] != "set") throw USAGE_ERROR(std::string("led: expected ") + LED_SET_USAGE);
    l_Order.m_Place = {Bay(l_Words[2]), Led(l_Words[3])};
    l_Order.m_Action = Action(l_Words[4]);
    CheckOptions(l_App, l_Order.m_Action);
    if (!l_Color.empty()) l_Order.m_Color = Color(l_Color);
    return l_Order;
}

bool SetLed(SESSION& a_Session, const LED_ORDER& a_Order, bool a_Color, std::string& a_Text, std::string& a_Remarks) {
    LED_PLACE l_Place = a_Order.m_Place;
    if (l_Place.m_Bay != BASEBOARD_BAY) {
        const int l_First = FirstAMC(a_Session);
        if (l_First != BASEBOARD_BAY && l_First != l_Place.m_Bay) {
            a_Remarks += "the adaptor sets LEDs of the first AMC only: not " + LedBayText(l_Place.m_Bay) + " but " +
                         LedBayText(l_First) + " gets it\n";
            l_Place.m_Bay = l_First;
        }
    }
    const bool l_Lit = a_Order.m_Action == LED_ACTION::On || a_Order.m_Action == LED_ACTION::Blink;
    if (l_Lit && a_Order.m_Color == LED_NO_COLOR) {
        a_Remarks +=
            "no --color: the adaptor sends one of its own: orange to an LED that can be white, else amber to one that "
            "can be orange, else blue to one that can be amber, else green\n";
    }
    if (a_Order.m_Action == LED_ACTION::Blink) {
        RemarkTime("--on", a_Order.m_OnTime, a_Remarks);
        RemarkTime("--off", a_Order.m_OffTime, a_Remarks);
    }
    const int l_Result = WriteLed(a_Session, a_Order.m_Place, RowOf(a_Order));
    if (l_Result != SUCCESS && l_Result != CONTROLLER_SUCCESS) {
        a_Remarks += Refusal(l_Result, l_Place);
        return false;
    }
    int l_ReadResult = 0;
    if (const auto l_Row = ReadLed(a_Session, l_Place, l_ReadResult))
        a_Text += LedTable({LedLine(l_Place, *l_Row)}, a_Color);
    return true;
}

} // namespace BMHOST
