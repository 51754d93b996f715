// One call: the operation, and what it is given.
#include "host/words/Call.h"

#include "host/words/Error.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace bmhost {

namespace {

struct CallForm {
    Operation m_operation;
    std::string_view m_word;
};

constexpr CallForm CallForms[] = {
    {Operation::Init, "init"},   {Operation::Start, "start"}, {Operation::Stop, "stop"},
    {Operation::Fin, "fin"},     {Operation::Read, "read"},   {Operation::Table, "table"},
    {Operation::Write, "write"}, {Operation::Sleep, "sleep"}, {Operation::WaitEvent, "wait-event"},
};

const CallForm& FormOf(Operation operation) {
    return *std::find_if(std::begin(CallForms), std::end(CallForms),
                         [=](const CallForm& row) { return row.m_operation == operation; });
}

} // namespace

std::string_view OperationName(Operation operation) {
    return FormOf(operation).m_word;
}

bool NeedsLife(Operation operation) {
    return operation == Operation::Read || operation == Operation::Table || operation == Operation::Write;
}

Call ParseGroupCall(Operation operation, const std::string& group, const std::vector<std::string>& words,
                    const std::string& usage) {
    Call call;
    call.m_operation = operation;
    call.m_group = GroupNumber(group);
    const auto separator = std::find(words.begin(), words.end(), "--");
    for (auto word = words.begin(); word != separator; ++word)
        call.m_keys.Add(ParseParam(*word, true, call.m_group));
    if (operation != Operation::Write) {
        if (separator != words.end()) throw UsageError("'--' in a read: expected " + usage);
        return call;
    }
    if (separator == words.end()) throw UsageError("no '--' between keys and values: expected " + usage);
    for (auto word = separator + 1; word != words.end(); ++word)
        call.m_values.Add(ParseParam(*word, false, call.m_group));
    return call;
}

Call ParseWait(Operation operation, const std::string& milliseconds, const std::string& usage) {
    const auto number = ParseNumber(milliseconds);
    if (!number || *number < 0 || *number > std::numeric_limits<int>::max())
        throw UsageError("'" + milliseconds + "' is no number of milliseconds: expected " + usage);
    Call call;
    call.m_operation = operation;
    call.m_milliseconds = static_cast<int>(*number);
    return call;
}

} // namespace bmhost
