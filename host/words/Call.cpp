// One call as it is typed, on the command line or in a script line.
#include "host/words/Call.h"

#include "host/words/Error.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace bmhost {

namespace {

// How the words after the operation's are read.
enum class Form { Alone, GroupAndKeys, GroupAlone, GroupKeysValues, Milliseconds };

struct CallForm {
    std::string_view m_word;
    Operation m_operation;
    Form m_form;
    const char* m_usage;
};

constexpr CallForm CallForms[] = {
    {"init", Operation::Init, Form::Alone, "init"},
    {"start", Operation::Start, Form::Alone, "start"},
    {"stop", Operation::Stop, Form::Alone, "stop"},
    {"fin", Operation::Fin, Form::Alone, "fin"},
    {"read", Operation::Read, Form::GroupAndKeys, "read GROUP [ID=VALUE ...]"},
    {"table", Operation::Table, Form::GroupAlone, "table GROUP"},
    {"write", Operation::Write, Form::GroupKeysValues, "write GROUP [ID=VALUE ...] -- [ID=VALUE ...]"},
    {"sleep", Operation::Sleep, Form::Milliseconds, "sleep MS"},
    {"wait-event", Operation::WaitEvent, Form::Milliseconds, "wait-event MS"},
};

[[noreturn]] void WrongForm(const CallForm& grammar, const std::string& what) {
    throw UsageError(what + ": expected " + grammar.m_usage);
}

int ParseMilliseconds(const CallForm& grammar, const std::string& text) {
    const auto number = ParseNumber(text);
    if (!number || *number < 0 || *number > std::numeric_limits<int>::max()) {
        WrongForm(grammar, "'" + text + "' is no number of milliseconds");
    }
    return static_cast<int>(*number);
}

void ParseKeysAndValues(const CallForm& grammar, const std::vector<std::string>& words, Call& call) {
    const auto first = words.begin() + 2;
    const auto separator = std::find(first, words.end(), "--");
    for (auto word = first; word != separator; ++word)
        call.m_keys.Add(ParseParam(*word, true, call.m_group));
    if (grammar.m_form == Form::GroupAndKeys) {
        if (separator != words.end()) WrongForm(grammar, "'--' in a read");
        return;
    }
    if (separator == words.end()) WrongForm(grammar, "no '--' between keys and values");
    for (auto word = separator + 1; word != words.end(); ++word)
        call.m_values.Add(ParseParam(*word, false, call.m_group));
}

} // namespace

std::string_view OperationName(Operation operation) {
    return std::find_if(std::begin(CallForms), std::end(CallForms),
                        [=](const CallForm& row) { return row.m_operation == operation; })
        ->m_word;
}

bool NeedsLife(Operation operation) {
    return operation == Operation::Read || operation == Operation::Table || operation == Operation::Write;
}

Call ParseCall(const std::vector<std::string>& words) {
    if (words.empty()) throw UsageError("no call: expected init, start, stop, fin, read, table or write");
    const auto* grammar = std::find_if(std::begin(CallForms), std::end(CallForms),
                                       [&](const CallForm& row) { return row.m_word == words[0]; });
    if (grammar == std::end(CallForms)) {
        throw UsageError("unknown call '" + words[0] +
                         "': expected init, start, stop, fin, read, table, write, sleep or wait-event");
    }
    Call call;
    call.m_operation = grammar->m_operation;
    if (grammar->m_form == Form::Alone) {
        if (words.size() != 1) WrongForm(*grammar, "'" + words[1] + "' is too much");
        return call;
    }
    if (words.size() < 2) WrongForm(*grammar, "'" + words[0] + "' is not enough");
    const bool takesOneWord = grammar->m_form == Form::Milliseconds || grammar->m_form == Form::GroupAlone;
    if (takesOneWord && words.size() != 2) WrongForm(*grammar, "'" + words[2] + "' is too much");
    if (grammar->m_form == Form::Milliseconds) {
        call.m_milliseconds = ParseMilliseconds(*grammar, words[1]);
        return call;
    }
    call.m_group = GroupNumber(words[1]);
    if (!takesOneWord) ParseKeysAndValues(*grammar, words, call);
    return call;
}

} // namespace bmhost
