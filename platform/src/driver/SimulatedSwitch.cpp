// The simulated board's Ethernet switch: its state as text.
#include "bm_dev/SimulatedSwitch.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace bm_dev {

namespace {

constexpr const char* FirstLine = "bladesim switch 1";
constexpr const char* LastLine = "end";

// Whether the whole text is a number.
template <typename Number>
bool IsNumber(const std::string& content, Number& number, int base) {
    const char* const end = content.data() + content.size();
    const auto [rest, error] = std::from_chars(content.data(), end, number, base);
    return error == std::errc() && rest == end;
}

// The words of one line, taken one after the other; an unexpected word is an error.
class Line {
public:
    explicit Line(const std::string& line) : m_words(line.substr(0, line.find('#'))) {}

    bool IsEmpty() { return (m_words >> std::ws).eof(); }

    std::string Word(const char* what) {
        std::string word;
        if (!(m_words >> word)) throw SwitchStateError(std::string("missing ") + what);
        return word;
    }

    int Number(const char* what) {
        const std::string word = Word(what);
        int number = 0;
        if (!IsNumber(word, number, 10)) Refuse(what, word);
        return number;
    }

    // True for the first word, false for the second.
    bool Either(const char* first, const char* second, const char* what) {
        const std::string word = Word(what);
        if (word != first && word != second) Refuse(what, word);
        return word == first;
    }

    std::array<unsigned char, 6> Mac() {
        const std::string word = Word("address");
        std::array<unsigned char, 6> mac{};
        bool isMac = word.size() == 17;
        for (std::size_t i = 0; isMac && i < mac.size(); ++i) {
            const std::size_t digits = 3 * i;
            isMac = IsNumber(word.substr(digits, 2), mac[i], 16) && (i == 0 || word[digits - 1] == ':');
        }
        if (!isMac) Refuse("address", word);
        return mac;
    }

    void End() {
        if (!IsEmpty()) throw SwitchStateError("\"" + Word("word") + "\" is unexpected");
    }

    [[noreturn]] static void Refuse(const char* what, const std::string& word) {
        throw SwitchStateError("\"" + word.substr(0, 40) + "\" is not a valid " + what);
    }

private:
    std::istringstream m_words;
};

void TakePort(Line& line, SwitchState& state) {
    const int number = line.Number("port");
    const bool enabled = line.Either("enabled", "disabled", "administrative state");
    const bool cable = line.Either("up", "down", "link state");
    if (!state.m_ports.insert({number, {enabled, cable}}).second)
        throw SwitchStateError("port " + std::to_string(number) + " appears twice");
}

void TakeLearnt(Line& line, SwitchState& state) {
    const auto mac = line.Mac();
    const bool isDSP = line.Either("dsp", "port", "destination");
    const int number = line.Number("number");
    if (state.m_learnt.size() >= SwitchTableSize) throw SwitchStateError("too many addresses");
    if (!state.m_learnt.insert({mac, {isDSP, number}}).second)
        throw SwitchStateError(TextOfMac(mac) + " appears twice");
}

void TakeFailure(Line& line, SwitchState& state) {
    const std::string call = line.Word("call");
    if (std::ranges::find(SwitchCalls, call) == SwitchCalls.end()) Line::Refuse("call", call);
    const int code = line.Number("code");
    state.SetFailure(call, line.IsEmpty() ? std::nullopt : std::optional(line.Number("port or DSP")), code);
}

// False at the last line.
bool TakeLine(Line& line, SwitchState& state) {
    if (line.IsEmpty()) return true;
    const std::string kind = line.Word("word");
    if (kind == "port") {
        TakePort(line, state);
    } else if (kind == "learnt") {
        TakeLearnt(line, state);
    } else if (kind == "fail") {
        TakeFailure(line, state);
    } else if (kind != LastLine) {
        Line::Refuse("keyword", kind);
    }
    line.End();
    return kind != LastLine;
}

} // namespace

int SwitchState::FailureOf(std::string_view call, std::optional<int> number) const {
    for (const auto& each : {number, std::optional<int>()}) {
        const auto found = m_failures.find({std::string(call), each});
        if (found != m_failures.end()) return found->second;
    }
    return 0;
}

void SwitchState::SetFailure(const std::string& call, std::optional<int> number, int code) {
    m_failures.erase({call, number});
    if (code != 0) m_failures[{call, number}] = code;
}

std::string TextOfSwitch(const SwitchState& state) {
    std::ostringstream text;
    text << FirstLine << '\n';
    for (const auto& [number, port] : state.m_ports) {
        text << "port " << number << (port.m_enabled ? " enabled" : " disabled")
             << (port.m_cable ? " up\n" : " down\n");
    }
    for (const auto& [mac, destination] : state.m_learnt) {
        text << "learnt " << TextOfMac(mac) << (destination.m_isDSP ? " dsp " : " port ") << destination.m_number
             << '\n';
    }
    for (const auto& [where, code] : state.m_failures) {
        text << "fail " << where.first << ' ' << code;
        if (where.second) text << ' ' << *where.second;
        text << '\n';
    }
    text << LastLine << '\n';
    return text.str();
}

SwitchState SwitchOfText(const std::string& content, const std::string& name) {
    SwitchState state;
    state.m_ports.clear();
    std::istringstream lines(content);
    std::string text;
    int number = 1;
    try {
        if (!std::getline(lines, text) || text != FirstLine)
            throw SwitchStateError(std::string("does not begin with \"") + FirstLine + "\"");
        for (bool hasMore = true; hasMore;) {
            ++number;
            if (!std::getline(lines, text)) throw SwitchStateError("incomplete: no \"end\"");
            Line line(text);
            hasMore = TakeLine(line, state);
        }
    } catch (const SwitchStateError& error) {
        throw SwitchStateError(name + ":" + std::to_string(number) + ": " + error.what());
    }
    return state;
}

} // namespace bm_dev
