// The values of a row for tables that people read, and rows for a call.
#include "host/session/Rows.h"

#include "host/output/TextOutput.h"

namespace bmhost {

using namespace BM_ADAPTOR;

std::string TextOf(const CBMIParams& row, unsigned id) {
    const CBMIParam* const param = row.GetParamById(id);
    return param != nullptr ? ValueText(*param) : "-";
}

int32_t IntegerOf(const CBMIParams& row, unsigned id) {
    const CBMIParam* const param = row.GetParamById(id);
    return param != nullptr ? param->GetInt() : 0;
}

CBMIParam Integer(unsigned id, int32_t value, bool key) {
    CBMIParam param(BMI_PARAM_INT, id, key);
    param.SetInt(value);
    return param;
}

CBMIKeys KeyOf(unsigned id, int32_t value) {
    CBMIKeys keys;
    keys.Add(Integer(id, value, true));
    return keys;
}

} // namespace bmhost
