// The values of a row as people's tables need them, and rows made for a call.
#include "host/session/Rows.h"

#include "host/output/TextOutput.h"

namespace BMHOST {

using namespace BM_ADAPTOR;

std::string TextOf(const CBMIParams& a_Row, unsigned a_Id) {
    const CBMIParam* const l_Param = a_Row.GetParamById(a_Id);
    return l_Param != nullptr ? ValueText(*l_Param) : "-";
}

int32_t IntegerOf(const CBMIParams& a_Row, unsigned a_Id) {
    const CBMIParam* const l_Param = a_Row.GetParamById(a_Id);
    return l_Param != nullptr ? l_Param->GetInt() : 0;
}

CBMIParam Integer(unsigned a_Id, int32_t a_Value, bool a_Key) {
    CBMIParam l_Param(BMI_PARAM_INT, a_Id, a_Key);
    l_Param.SetInt(a_Value);
    return l_Param;
}

CBMIKeys KeyOf(unsigned a_Id, int32_t a_Value) {
    CBMIKeys l_Keys;
    l_Keys.Add(Integer(a_Id, a_Value, true));
    return l_Keys;
}

} // namespace BMHOST
