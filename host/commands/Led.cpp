// `bmhost led set`: one LED set, refused before it is sent when it makes no sense.
#include "host/commands/Led.h"

#include "common/veldo_common_protocol.h"
#include "host/commands/Context.h"
#include "host/output/TextOutput.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/views/LedPanel.h"
#include "host/words/Commands.h"
#include "host/words/CompletionCode.h"
#include "host/words/Error.h"
#include "host/words/Nearest.h"

#include <algorithm>
#include <vector>

namespace bmhost {

namespace {

constexpr int ControllerSuccess = 0; // the completion code, which the adaptor passes on
constexpr int FirstCompletionCode = 0x80;
constexpr int LastCompletionCode = 0xFF;
// What a controller can be told: 10 to 250 tens of milliseconds.
constexpr int ShortestTime = 100;
constexpr int LongestTime = 2500;
constexpr int DefaultTime = 500;

constexpr Command::Range Times = {1, 60000}; // milliseconds

struct NamedNumber {
    const char* m_name;
    int m_number;
};

constexpr NamedNumber Bays[] = {{"board", BaseboardBay}, {"rtm", RtmBay}};
constexpr NamedNumber LedNames[] = {{"hot-swap", 1}, {"blue", 1}, {"out-of-service", 2}, {"health", 3}};
constexpr NamedNumber Actions[] = {{"on", static_cast<int>(LedAction::On)},
                                   {"off", static_cast<int>(LedAction::Off)},
                                   {"blink", static_cast<int>(LedAction::Blink)},
                                   {"local", static_cast<int>(LedAction::Local)}};

template <std::size_t Size>
std::vector<std::string> NamesOf(const NamedNumber (&table)[Size]) {
    std::vector<std::string> names;
    for (const NamedNumber& row : table)
        names.emplace_back(row.m_name);
    return names;
}

std::vector<std::string> ColorNames() {
    std::vector<std::string> names;
    for (int color = LedNoColor + 1; LedColorNumber(LedColorName(color)); ++color)
        names.emplace_back(LedColorName(color));
    return names;
}

template <std::size_t Size>
std::optional<int> NumberOf(const NamedNumber (&table)[Size], const std::string& name) {
    for (const NamedNumber& row : table) {
        if (name == row.m_name) return row.m_number;
    }
    return std::nullopt;
}

std::optional<int> Digit(const std::string& word, int first, int last) {
    if (word.size() != 1 || word[0] < '0' + first || word[0] > '0' + last) return std::nullopt;
    return word[0] - '0';
}

int Bay(const std::string& word) {
    if (const auto named = NumberOf(Bays, word)) return *named;
    if (const auto number = Digit(word, FirstAmcBay, RtmBay)) return *number;
    throw UsageError("led set: BAY '" + word + "': expected board, rtm, or a bay from 1 to 9" +
                     DidYouMean(word, NamesOf(Bays)));
}

int Led(const std::string& word) {
    if (const auto named = NumberOf(LedNames, word)) return *named;
    if (const auto number = Digit(word, FirstLed, LastLed)) return *number;
    throw UsageError("led set: LED '" + word + "': expected hot-swap, out-of-service, health, or a number from 1 to 4" +
                     DidYouMean(word, NamesOf(LedNames)));
}

LedAction Action(const std::string& word) {
    if (const auto action = NumberOf(Actions, word)) return static_cast<LedAction>(*action);
    throw UsageError("led set: '" + word + "': expected on, off, blink or local" + DidYouMean(word, NamesOf(Actions)));
}

int Color(const std::string& word) {
    if (const auto color = LedColorNumber(word)) return *color;
    throw UsageError("led set: --color '" + word + "': expected white, red, green, blue, amber or orange" +
                     DidYouMean(word, ColorNames()));
}

/// Options that say nothing to the action are a misunderstanding.
void CheckOptions(const LedWords& words, LedAction action) {
    const bool times = words.m_onTime || words.m_offTime;
    if (times && action != LedAction::Blink) throw UsageError("led set: --on and --off are the times of blink");
    if (times && !(words.m_onTime && words.m_offTime)) throw UsageError("led set: expected --on and --off together");
    const bool lit = action == LedAction::On || action == LedAction::Blink;
    if (words.m_color && !lit) throw UsageError("led set: --color goes with on and blink only");
}

// The bay of an AMC is required by the adaptor and not looked at: it writes to the first AMC that there is.
int FirstAMC(Session& session) {
    for (int bay = FirstAmcBay; bay <= LastAmcBay; ++bay) {
        int result = 0;
        session.Row(BM_ADAPTOR::BMI_GROUP_HARDWARE_AMC_TABLE, KeyOf(BM_ADAPTOR::BMI_HW_AMC_BAY, bay), result);
        if (result == Success) return bay;
        ReadLed(session, {bay, FirstLed}, result);
        if (result != NotFound) return bay;
    }
    return BaseboardBay;
}

LedRow RowOf(const LedOrder& order) {
    switch (order.m_action) {
    case LedAction::On:
        return {0, 1, 0, 0, order.m_color};
    case LedAction::Off:
        return {0, 0, 1, 0, order.m_color};
    case LedAction::Blink:
        return {0, order.m_onTime, order.m_offTime, 0, order.m_color};
    case LedAction::Local:
        break;
    }
    return {1, 0, 1, 0, LedNoColor};
}

void RemarkTime(const char* option, int time, std::string& remarks) {
    const int sent = std::clamp(time / 10 * 10, ShortestTime, LongestTime);
    if (sent == time) return;
    remarks += std::string(option) + " " + std::to_string(time) + ": a controller is told " + std::to_string(sent) +
               " ms, tens of milliseconds from 100 to 2500\n";
}

std::string Refusal(int result, LedPlace place) {
    const std::string which = "LED " + std::to_string(place.m_led) + " of " + LedBayText(place.m_bay) + ": ";
    if (result == NotFound || result == -1) return which + "there is no such LED\n";
    if (result >= FirstCompletionCode && result <= LastCompletionCode)
        return which + "the controller refused it with completion code " + CompletionCodeText(result) + "\n";
    return which + "the adaptor answered " + ResultText(result) + "\n";
}

} // namespace

LedOrder LedOrderOf(const LedWords& words) {
    LedOrder order;
    order.m_place = {Bay(words.m_bay), Led(words.m_led)};
    order.m_action = Action(words.m_action);
    CheckOptions(words, order.m_action);
    order.m_onTime = words.m_onTime.value_or(DefaultTime);
    order.m_offTime = words.m_offTime.value_or(DefaultTime);
    if (words.m_color) order.m_color = Color(*words.m_color);
    return order;
}

bool SetLed(Session& session, const LedOrder& order, bool color, std::string& text, std::string& remarks) {
    LedPlace place = order.m_place;
    if (place.m_bay != BaseboardBay) {
        const int first = FirstAMC(session);
        if (first != BaseboardBay && first != place.m_bay) {
            remarks += "the adaptor sets LEDs of the first AMC only: not " + LedBayText(place.m_bay) + " but " +
                       LedBayText(first) + " gets it\n";
            place.m_bay = first;
        }
    }
    const bool lit = order.m_action == LedAction::On || order.m_action == LedAction::Blink;
    if (lit && order.m_color == LedNoColor) {
        remarks +=
            "no --color: the adaptor sends one of its own: orange to an LED that can be white, else amber to one that "
            "can be orange, else blue to one that can be amber, else green\n";
    }
    if (order.m_action == LedAction::Blink) {
        RemarkTime("--on", order.m_onTime, remarks);
        RemarkTime("--off", order.m_offTime, remarks);
    }
    const int result = WriteLed(session, order.m_place, RowOf(order));
    if (result != Success && result != ControllerSuccess) {
        remarks += Refusal(result, place);
        return false;
    }
    int readResult = 0;
    if (const auto row = ReadLed(session, place, readResult)) text += LedTable({LedLine(place, *row)}, color);
    return true;
}

void AddLed(Commands& commands) {
    Command& command = commands.Add("led", "set one LED", OnCommandLine | InShell).Add("set", "set one LED");
    const auto words = command.Own<LedWords>();
    command.ForPeople()
        .Word("BAY", words->m_bay, NamesOf(Bays))
        .Word("LED", words->m_led, NamesOf(LedNames))
        .Word("ACTION", words->m_action, NamesOf(Actions))
        .Option({"--color", "C", "white, red, green, blue, amber or orange; with on and blink", ColorNames()},
                words->m_color)
        .Option({"--on", "MS", "how long it is on when it blinks; 500 by default"}, words->m_onTime, Times)
        .Option({"--off", "MS", "how long it is off then", {}, false, true}, words->m_offTime, Times)
        .Details(
            "BAY is board, rtm or a bay from 1 to 9. LED is hot-swap or blue (1), out-of-service (2), health (3) or 4.\n"
            "ACTION is on, off, blink or local: back under local control. A controller takes tens of milliseconds from 100 "
            "to\n2500 for a time. Without --color the adaptor chooses a colour by a rule of its own.\n"
            "Of the modules, the adaptor sets the LEDs of the first AMC only, whatever the bay: standard error says so.\n"
            "Shows the LED as it is read afterwards. Status 0 when it was set.\n")
        .Example("bmhost led set 1 health blink --color amber --on 200 --off 800")
        .Example("bmhost led set board health local")
        .Run([words](Context& context) {
            const LedOrder order = LedOrderOf(*words);
            return RunForPeople(context, [&](Session& session, bool color, std::string& text, std::string& remarks) {
                return SetLed(session, order, color, text, remarks);
            });
        });
}

} // namespace bmhost
