// One call as it is typed, on the command line or in a script line.
#pragma once

#include "bm/Params.h"

#include <string>
#include <string_view>
#include <vector>

namespace BMHOST {

enum class OPERATION { Init, Start, Stop, Fin, Read, Table, Write, Sleep, WaitEvent };

struct CALL {
    OPERATION m_Operation = OPERATION::Init;
    unsigned m_Group = 0;
    BM_ADAPTOR::CBMIKeys m_Keys;
    BM_ADAPTOR::CBMIParams m_Values;
    int m_Milliseconds = 0;
};

/// The word of an operation: "init", "wait-event" …
std::string_view OperationName(OPERATION a_Operation);

/// Whether the operation is made between an init and a fin when it stands alone: read, table and write are.
bool NeedsLife(OPERATION a_Operation);

/// Makes a call of its words. Throws USAGE_ERROR saying what was expected.
CALL ParseCall(const std::vector<std::string>& a_Words);

} // namespace BMHOST
