// One call as it is typed, on the command line or in a script line.
#include "host/words/Call.h"

#include "host/words/Error.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace BMHOST {

namespace {

// How the words after the operation's are read.
enum class FORM { Alone, GroupAndKeys, GroupAlone, GroupKeysValues, Milliseconds };

struct GRAMMAR {
    std::string_view m_Word;
    OPERATION m_Operation;
    FORM m_Form;
    const char* m_Usage;
};

constexpr GRAMMAR g_Grammar[] = {
    {"init", OPERATION::Init, FORM::Alone, "init"},
    {"start", OPERATION::Start, FORM::Alone, "start"},
    {"stop", OPERATION::Stop, FORM::Alone, "stop"},
    {"fin", OPERATION::Fin, FORM::Alone, "fin"},
    {"read", OPERATION::Read, FORM::GroupAndKeys, "read GROUP [ID=VALUE ...]"},
    {"table", OPERATION::Table, FORM::GroupAlone, "table GROUP"},
    {"write", OPERATION::Write, FORM::GroupKeysValues, "write GROUP [ID=VALUE ...] -- [ID=VALUE ...]"},
    {"sleep", OPERATION::Sleep, FORM::Milliseconds, "sleep MS"},
    {"wait-event", OPERATION::WaitEvent, FORM::Milliseconds, "wait-event MS"},
};

[[noreturn]] void WrongForm(const GRAMMAR& a_Grammar, const std::string& a_What) {
    throw USAGE_ERROR(a_What + ": expected " + a_Grammar.m_Usage);
}

int ParseMilliseconds(const GRAMMAR& a_Grammar, const std::string& a_Text) {
    const auto l_Number = ParseNumber(a_Text);
    if (!l_Number || *l_Number < 0 || *l_Number > std::numeric_limits<int>::max()) {
        WrongForm(a_Grammar, "'" + a_Text + "' is no number of milliseconds");
    }
    return static_cast<int>(*l_Number);
}

void ParseKeysAndValues(const GRAMMAR& a_Grammar, const std::vector<std::string>& a_Words, CALL& a_Call) {
    const auto l_First = a_Words.begin() + 2;
    const auto l_Separator = std::find(l_First, a_Words.end(), "--");
    for (auto l_Word = l_First; l_Word != l_Separator; ++l_Word)
        a_Call.m_Keys.Add(ParseParam(*l_Word, true, a_Call.m_Group));
    if (a_Grammar.m_Form == FORM::GroupAndKeys) {
        if (l_Separator != a_Words.end()) WrongForm(a_Grammar, "'--' in a read");
        return;
    }
    if (l_Separator == a_Words.end()) WrongForm(a_Grammar, "no '--' between keys and values");
    for (auto l_Word = l_Separator + 1; l_Word != a_Words.end(); ++l_Word)
        a_Call.m_Values.Add(ParseParam(*l_Word, false, a_Call.m_Group));
}

} // namespace

std::string_view OperationName(OPERATION a_Operation) {
    return std::find_if(std::begin(g_Grammar), std::end(g_Grammar),
                        [=](const GRAMMAR& a_Row) { return a_Row.m_Operation == a_Operation; })
        ->m_Word;
}

bool NeedsLife(OPERATION a_Operation) {
    return a_Operation == OPERATION::Read || a_Operation == OPERATION::Table || a_Operation == OPERATION::Write;
}

CALL ParseCall(const std::vector<std::string>& a_Words) {
    if (a_Words.empty()) throw USAGE_ERROR("no call: expected init, start, stop, fin, read, table or write");
    const auto* l_Grammar = std::find_if(std::begin(g_Grammar), std::end(g_Grammar),
                                         [&](const GRAMMAR& a_Row) { return a_Row.m_Word == a_Words[0]; });
    if (l_Grammar == std::end(g_Grammar)) {
        throw USAGE_ERROR("unknown call '" + a_Words[0] +
                          "': expected init, start, stop, fin, read, table, write, sleep or wait-event");
    }
    CALL l_Call;
    l_Call.m_Operation = l_Grammar->m_Operation;
    if (l_Grammar->m_Form == FORM::Alone) {
        if (a_Words.size() != 1) WrongForm(*l_Grammar, "'" + a_Words[1] + "' is too much");
        return l_Call;
    }
    if (a_Words.size() < 2) WrongForm(*l_Grammar, "'" + a_Words[0] + "' is not enough");
    const bool l_TakesOneWord = l_Grammar->m_Form == FORM::Milliseconds || l_Grammar->m_Form == FORM::GroupAlone;
    if (l_TakesOneWord && a_Words.size() != 2) WrongForm(*l_Grammar, "'" + a_Words[2] + "' is too much");
    if (l_Grammar->m_Form == FORM::Milliseconds) {
        l_Call.m_Milliseconds = ParseMilliseconds(*l_Grammar, a_Words[1]);
        return l_Call;
    }
    l_Call.m_Group = GroupNumber(a_Words[1]);
    if (!l_TakesOneWord) ParseKeysAndValues(*l_Grammar, a_Words, l_Call);
    return l_Call;
}

} // namespace BMHOST
