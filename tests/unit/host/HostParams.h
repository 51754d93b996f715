// Rows for tests of the host command.
#pragma once

#include "bm/Params.h"

#include <cstdint>
#include <string>

inline BM_ADAPTOR::CBMIParam Int(unsigned id, int32_t value, bool key = false) {
    BM_ADAPTOR::CBMIParam param(BM_ADAPTOR::BMI_PARAM_INT, id, key);
    param.SetInt(value);
    return param;
}

inline BM_ADAPTOR::CBMIParam Bool(unsigned id, bool value) {
    BM_ADAPTOR::CBMIParam param(BM_ADAPTOR::BMI_PARAM_BOOL, id, false);
    param.SetBool(value);
    return param;
}

inline BM_ADAPTOR::CBMIParam Text(unsigned id, const std::string& value) {
    BM_ADAPTOR::CBMIParam param(BM_ADAPTOR::BMI_PARAM_STRING, id, false);
    param.SetString(value);
    return param;
}

template <typename RowType = BM_ADAPTOR::CBMIParams, typename... Values>
RowType Row(const Values&... params) {
    RowType row;
    (row.Add(params), ...);
    return row;
}
