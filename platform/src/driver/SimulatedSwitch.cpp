// The simulated board's Ethernet switch: the text of its state.
#include "bm_dev/SimulatedSwitch.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <sstream>

namespace BM_PLATFORM {

namespace {

constexpr const char* FIRST_LINE = "bladesim switch 1";
constexpr const char* LAST_LINE = "end";

std::string TextOf(const std::array<unsigned char, 6>& a_Mac) {
    std::array<char, 18> l_Text{};
    std::snprintf(l_Text.data(), l_Text.size(), "%02X:%02X:%02X:%02X:%02X:%02X", a_Mac[0], a_Mac[1], a_Mac[2], a_Mac[3],
                  a_Mac[4], a_Mac[5]);
    return l_Text.data();
}

// Whether the whole text is one.
template <typename NUMBER>
bool IsNumber(const std::string& a_Text, NUMBER& a_Number, int a_Base) {
    const char* const l_End = a_Text.data() + a_Text.size();
    const auto [l_Rest, l_Error] = std::from_chars(a_Text.data(), l_End, a_Number, a_Base);
    return l_Error == std::errc() && l_Rest == l_End;
}

// The words of one line, taken one after the other; a word that does not fit is an error with its reason.
class LINE {
public:
    explicit LINE(const std::string& a_Line) : m_Words(a_Line.substr(0, a_Line.find('#'))) {}

    bool IsEmpty() { return (m_Words >> std::ws).eof(); }

    std::string Word(const char* a_What) {
        std::string l_Word;
        if (!(m_Words >> l_Word)) throw SWITCH_STATE_ERROR(std::string("no ") + a_What);
        return l_Word;
    }

    int Number(const char* a_What) {
        const std::string l_Word = Word(a_What);
        int l_Number = 0;
        if (!IsNumber(l_Word, l_Number, 10)) Refuse(a_What, l_Word);
        return l_Number;
    }

    // True for the first word, false for the second.
    bool Either(const char* a_First, const char* a_Second, const char* a_What) {
        const std::string l_Word = Word(a_What);
        if (l_Word != a_First && l_Word != a_Second) Refuse(a_What, l_Word);
        return l_Word == a_First;
    }

    std::array<unsigned char, 6> Mac() {
        const std::string l_Word = Word("address");
        std::array<unsigned char, 6> l_Mac{};
        bool l_IsMac = l_Word.size() == 17;
        for (std::size_t i = 0; l_IsMac && i < l_Mac.size(); ++i) {
            const std::size_t l_Digits = 3 * i;
            l_IsMac = IsNumber(l_Word.substr(l_Digits, 2), l_Mac[i], 16) && (i == 0 || l_Word[l_Digits - 1] == ':');
        }
        if (!l_IsMac) Refuse("address", l_Word);
        return l_Mac;
    }

    void End() {
        if (!IsEmpty()) throw SWITCH_STATE_ERROR("\"" + Word("word") + "\" is one word too many");
    }

    [[noreturn]] static void Refuse(const char* a_What, const std::string& a_Word) {
        throw SWITCH_STATE_ERROR("\"" + a_Word.substr(0, 40) + "\" is no " + a_What);
    }

private:
    std::istringstream m_Words;
};

void TakePort(LINE& a_Line, SWITCH_STATE& a_State) {
    const int l_Number = a_Line.Number("port");
    const bool l_Enabled = a_Line.Either("enabled", "disabled", "administrative state");
    const bool l_Cable = a_Line.Either("up", "down", "link state");
    if (!a_State.m_Ports.insert({l_Number, {l_Enabled, l_Cable}}).second)
        throw SWITCH_STATE_ERROR("a second port " + std::to_string(l_Number));
}

void TakeLearnt(LINE& a_Line, SWITCH_STATE& a_State) {
    const auto l_Mac = a_Line.Mac();
    const bool l_IsDSP = a_Line.Either("dsp", "port", "destination");
    const int l_Number = a_Line.Number("number");
    if (a_State.m_Learnt.size() >= SWITCH_TABLE_SIZE) throw SWITCH_STATE_ERROR("too many addresses");
    if (!a_State.m_Learnt.insert({l_Mac, {l_IsDSP, l_Number}}).second)
        throw SWITCH_STATE_ERROR("a second entry for " + TextOf(l_Mac));
}

void TakeFailure(LINE& a_Line, SWITCH_STATE& a_State) {
    const std::string l_Call = a_Line.Word("call");
    if (std::ranges::find(SWITCH_CALLS, l_Call) == SWITCH_CALLS.end()) LINE::Refuse("call", l_Call);
    const int l_Code = a_Line.Number("code");
    a_State.SetFailure(l_Call, a_Line.IsEmpty() ? std::nullopt : std::optional(a_Line.Number("port or DSP")), l_Code);
}

// False at the last line.
bool TakeLine(LINE& a_Line, SWITCH_STATE& a_State) {
    if (a_Line.IsEmpty()) return true;
    const std::string l_Kind = a_Line.Word("word");
    if (l_Kind == "port") {
        TakePort(a_Line, a_State);
    } else if (l_Kind == "learnt") {
        TakeLearnt(a_Line, a_State);
    } else if (l_Kind == "fail") {
        TakeFailure(a_Line, a_State);
    } else if (l_Kind != LAST_LINE) {
        LINE::Refuse("line of a switch", l_Kind);
    }
    a_Line.End();
    return l_Kind != LAST_LINE;
}

} // namespace

int SWITCH_STATE::FailureOf(std::string_view a_Call, std::optional<int> a_Number) const {
    for (const auto& l_Number : {a_Number, std::optional<int>()}) {
        const auto l_Found = m_Failures.find({std::string(a_Call), l_Number});
        if (l_Found != m_Failures.end()) return l_Found->second;
    }
    return 0;
}

void SWITCH_STATE::SetFailure(const std::string& a_Call, std::optional<int> a_Number, int a_Code) {
    m_Failures.erase({a_Call, a_Number});
    if (a_Code != 0) m_Failures[{a_Call, a_Number}] = a_Code;
}

std::string TextOfSwitch(const SWITCH_STATE& a_State) {
    std::ostringstream l_Text;
    l_Text << FIRST_LINE << '\n';
    for (const auto& [l_Number, l_Port] : a_State.m_Ports) {
        l_Text << "port " << l_Number << (l_Port.m_Enabled ? " enabled" : " disabled")
               << (l_Port.m_Cable ? " up\n" : " down\n");
    }
    for (const auto& [l_Mac, l_Destination] : a_State.m_Learnt) {
        l_Text << "learnt " << TextOf(l_Mac) << (l_Destination.m_IsDSP ? " dsp " : " port ") << l_Destination.m_Number
               << '\n';
    }
    for (const auto& [l_Where, l_Code] : a_State.m_Failures) {
        l_Text << "fail " << l_Where.first << ' ' << l_Code;
        if (l_Where.second) l_Text << ' ' << *l_Where.second;
        l_Text << '\n';
    }
    l_Text << LAST_LINE << '\n';
    return l_Text.str();
}

SWITCH_STATE SwitchOfText(const std::string& a_Text, const std::string& a_Name) {
    SWITCH_STATE l_State;
    l_State.m_Ports.clear();
    std::istringstream l_Lines(a_Text);
    std::string l_Text;
    int l_Number = 1;
    try {
        if (!std::getline(l_Lines, l_Text) || l_Text != FIRST_LINE)
            throw SWITCH_STATE_ERROR(std::string("does not begin with \"") + FIRST_LINE + "\"");
        for (bool l_HasMore = true; l_HasMore;) {
            ++l_Number;
            if (!std::getline(l_Lines, l_Text)) throw SWITCH_STATE_ERROR("incomplete: no \"end\"");
            LINE l_Line(l_Text);
            l_HasMore = TakeLine(l_Line, l_State);
        }
    } catch (const SWITCH_STATE_ERROR& l_Error) {
        throw SWITCH_STATE_ERROR(a_Name + ":" + std::to_string(l_Number) + ": " + l_Error.what());
    }
    return l_State;
}

} // namespace BM_PLATFORM
