// `bmhost led set`: one LED set, refused before it is sent when it makes no sense.
#include "host/commands/Led.h"

#include "bm_dev/Nearest.h"
#include "host/context/Context.h"
#include "host/context/GiveOrder.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"

#include <vector>

namespace bmhost {

namespace {

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
                     bm_dev::DidYouMean(word, NamesOf(Bays)));
}

int Led(const std::string& word) {
    if (const auto named = NumberOf(LedNames, word)) return *named;
    if (const auto number = Digit(word, FirstLed, LastLed)) return *number;
    throw UsageError("led set: LED '" + word + "': expected hot-swap, out-of-service, health, or a number from 1 to 4" +
                     bm_dev::DidYouMean(word, NamesOf(LedNames)));
}

LedAction Action(const std::string& word) {
    if (const auto action = NumberOf(Actions, word)) return static_cast<LedAction>(*action);
    throw UsageError("led set: '" + word + "': expected on, off, blink or local" +
                     bm_dev::DidYouMean(word, NamesOf(Actions)));
}

std::string NameOfAction(LedAction action) {
    for (const NamedNumber& row : Actions) {
        if (row.m_number == static_cast<int>(action)) return row.m_name;
    }
    return "";
}

int Color(const std::string& word) {
    if (const auto color = LedColorNumber(word)) return *color;
    throw UsageError("led set: --color '" + word + "': expected white, red, green, blue, amber or orange" +
                     bm_dev::DidYouMean(word, ColorNames()));
}

/// Options that say nothing to the action are a misunderstanding.
void CheckOptions(const LedWords& words, LedAction action) {
    const bool times = words.m_onTime || words.m_offTime;
    if (times && action != LedAction::Blink) throw UsageError("led set: --on and --off are the times of blink");
    if (times && !(words.m_onTime && words.m_offTime)) throw UsageError("led set: expected --on and --off together");
    const bool lit = action == LedAction::On || action == LedAction::Blink;
    if (words.m_color && !lit) throw UsageError("led set: --color goes with on and blink only");
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
    order.m_firstAmc = words.m_firstAmc;
    return order;
}

Order OrderOf(const LedOrder& order) {
    nlohmann::json values = {{"bay", order.m_place.m_bay},
                             {"led", order.m_place.m_led},
                             {"action", NameOfAction(order.m_action)},
                             {"first_amc", order.m_firstAmc}};
    if (order.m_color != LedNoColor) values["color"] = LedColorName(order.m_color);
    if (order.m_action == LedAction::Blink) {
        values["on"] = order.m_onTime;
        values["off"] = order.m_offTime;
    }
    return {"led-set", values};
}

void AddLed(Commands& commands) {
    Command& command = commands.Add("led", "set one LED", OnCommandLine | InShell).Add("set", "set one LED");
    const auto words = command.Own<LedWords>();
    command.Word("BAY", words->m_bay, NamesOf(Bays))
        .Word("LED", words->m_led, NamesOf(LedNames))
        .Word("ACTION", words->m_action, NamesOf(Actions))
        .Option({"--color", "C", "white, red, green, blue, amber or orange; with on and blink", ColorNames()},
                words->m_color)
        .Option({"--on", "MS", "how long it is on when it blinks; 500 by default"}, words->m_onTime, Times)
        .Option({"--off", "MS", "how long it is off then", {}, false, true}, words->m_offTime, Times)
        .Flag({"--first-amc", "", "for a bay whose LED cannot be set: set the first AMC's"}, words->m_firstAmc)
        .Details(
            "BAY is board, rtm or a bay from 1 to 9. LED is hot-swap or blue (1), out-of-service (2), health (3) or 4.\n"
            "ACTION is on, off, blink or local: back under local control. A controller takes tens of milliseconds from 100 "
            "to\n2500 for a time. Without --color the LED gets one that it supports. Of the modules, the adaptor sets the LEDs of\n"
            "the first AMC only, whatever the bay: another bay is refused, unless --first-amc means just that.\n"
            "Shows the LED as it is read afterwards. Status 0 when it was set.\n")
        .Example("bmhost led set 1 health blink --color amber --on 200 --off 800")
        .Example("bmhost led set board health local")
        .Run([words](Context& context) { return GiveOrder(context, "led set", OrderOf(LedOrderOf(*words))); });
}

} // namespace bmhost
