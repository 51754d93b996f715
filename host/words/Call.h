// One call: the operation, and what it is given.
#pragma once

#include "bm/Params.h"

#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

enum class Operation { Init, Start, Stop, Fin, Read, Table, Write, Sleep, WaitEvent };

struct Call {
    Operation m_operation = Operation::Init;
    unsigned m_group = 0;
    BM_ADAPTOR::CBMIKeys m_keys;
    BM_ADAPTOR::CBMIParams m_values;
    int m_milliseconds = 0;
};

/// The word of an operation: "init", "wait-event" …
std::string_view OperationName(Operation operation);

/// Whether the operation is made between an init and a fin when it stands alone: read, table and write are.
bool NeedsLife(Operation operation);

/// Makes a read, a table or a write of its words. Throws UsageError saying what was expected.
/// @param words  ID=VALUE, and of a write the "--" between keys and values
/// @param usage  what was expected, for the error's text
Call ParseGroupCall(Operation operation, const std::string& group, const std::vector<std::string>& words,
                    const std::string& usage);
/// Makes a sleep or a wait-event; likewise.
Call ParseWait(Operation operation, const std::string& milliseconds, const std::string& usage);

} // namespace bmhost
