// Rows for tests of the host command.
#pragma once

#include "bm/Params.h"

#include <cstdint>
#include <string>

inline BM_ADAPTOR::CBMIParam Int(unsigned a_Id, int32_t a_Value, bool a_Key = false) {
    BM_ADAPTOR::CBMIParam l_Param(BM_ADAPTOR::BMI_PARAM_INT, a_Id, a_Key);
    l_Param.SetInt(a_Value);
    return l_Param;
}

inline BM_ADAPTOR::CBMIParam Bool(unsigned a_Id, bool a_Value) {
    BM_ADAPTOR::CBMIParam l_Param(BM_ADAPTOR::BMI_PARAM_BOOL, a_Id, false);
    l_Param.SetBool(a_Value);
    return l_Param;
}

inline BM_ADAPTOR::CBMIParam Text(unsigned a_Id, const std::string& a_Value) {
    BM_ADAPTOR::CBMIParam l_Param(BM_ADAPTOR::BMI_PARAM_STRING, a_Id, false);
    l_Param.SetString(a_Value);
    return l_Param;
}

template <typename ROW = BM_ADAPTOR::CBMIParams, typename... PARAMS>
ROW Row(const PARAMS&... a_Params) {
    ROW l_Row;
    (l_Row.Add(a_Params), ...);
    return l_Row;
}
