// The values of a row as people's tables need them, and rows made for a call.
#pragma once

#include "bm/Params.h"

#include <string>

namespace BMHOST {

/// A call's result: the group has no such row.
constexpr int NO_ROW = 4;

/// The row's value as people read it; "-" without it.
std::string TextOf(const BM_ADAPTOR::CBMIParams& a_Row, unsigned a_Id);
/// The row's integer; 0 without it.
int32_t IntegerOf(const BM_ADAPTOR::CBMIParams& a_Row, unsigned a_Id);

BM_ADAPTOR::CBMIParam Integer(unsigned a_Id, int32_t a_Value, bool a_Key);
/// Keys of one integer.
BM_ADAPTOR::CBMIKeys KeyOf(unsigned a_Id, int32_t a_Value);

} // namespace BMHOST
