// A parameter's value as JSON: the same on the command line, at the socket and in the picture.
#pragma once

#include "bm/Params.h"
#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

namespace bmhost {

/// Each byte of a text becomes the character of the same number.
inline nlohmann::ordered_json ParamJson(const BM_ADAPTOR::CBMIParam& param) {
    switch (param.GetType()) {
    case BM_ADAPTOR::BMI_PARAM_BOOL:
        return param.GetBool();
    case BM_ADAPTOR::BMI_PARAM_STRING:
        return bm_dev::Utf8OfBytes(param.GetString());
    case BM_ADAPTOR::BMI_PARAM_INT:
    case BM_ADAPTOR::BMI_PARAM_UINT:
        break;
    }
    return param.GetInt();
}

} // namespace bmhost
