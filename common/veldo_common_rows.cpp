// Typed helpers for the host's rows and keys.
#include "common/veldo_common_rows.h"

#include <algorithm>
#include <cstddef>

namespace BM_ADAPTOR {

namespace {

CBMIParam IntegerParam(BMIParamId_e a_Id, bool a_Key, int32_t a_Value) {
    CBMIParam l_Param(BMI_PARAM_INT, a_Id, a_Key);
    l_Param.SetInt(a_Value);
    return l_Param;
}

} // namespace

std::optional<int32_t> IntParam(const CBMIParams* a_Params, BMIParamId_e a_Id) {
    const CBMIParam* l_Param = a_Params != nullptr ? a_Params->GetParamById(a_Id) : nullptr;
    if (l_Param == nullptr) return std::nullopt;
    if (l_Param->GetType() != BMI_PARAM_INT && l_Param->GetType() != BMI_PARAM_UINT) return std::nullopt;
    return l_Param->GetInt();
}

bool BoolParam(const CBMIParams* a_Params, BMIParamId_e a_Id) {
    const CBMIParam* l_Param = a_Params != nullptr ? a_Params->GetParamById(a_Id) : nullptr;
    return l_Param != nullptr && l_Param->GetType() == BMI_PARAM_BOOL && l_Param->GetBool();
}

std::optional<std::string> TextParam(const CBMIParams* a_Params, BMIParamId_e a_Id) {
    const CBMIParam* l_Param = a_Params != nullptr ? a_Params->GetParamById(a_Id) : nullptr;
    if (l_Param == nullptr || l_Param->GetType() != BMI_PARAM_STRING) return std::nullopt;
    return l_Param->GetString();
}

void AddKey(CBMIParams& a_Row, BMIParamId_e a_Id, int32_t a_Value) {
    a_Row.Add(IntegerParam(a_Id, true, a_Value));
}

void AddInt(CBMIParams& a_Row, BMIParamId_e a_Id, int32_t a_Value) {
    a_Row.Add(IntegerParam(a_Id, false, a_Value));
}

void AddBool(CBMIParams& a_Row, BMIParamId_e a_Id, bool a_Value) {
    CBMIParam l_Param(BMI_PARAM_BOOL, a_Id, false);
    l_Param.SetBool(a_Value);
    a_Row.Add(l_Param);
}

void AddText(CBMIParams& a_Row, BMIParamId_e a_Id, const std::string& a_Value) {
    CBMIParam l_Param(BMI_PARAM_STRING, a_Id, false);
    l_Param.SetString(a_Value);
    a_Row.Add(l_Param);
}

std::vector<const CBMIParams*> RowsOf(const CBMITable& a_Table) {
    std::vector<const CBMIParams*> l_Rows(static_cast<std::size_t>(std::max(a_Table.GetSize(), 0)));
    for (std::size_t i = 0; i < l_Rows.size(); ++i)
        l_Rows[i] = a_Table.Get(static_cast<int>(i));
    return l_Rows;
}

} // namespace BM_ADAPTOR
