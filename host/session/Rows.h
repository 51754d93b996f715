// The values of a row as people's tables need them, and rows made for a call.
#pragma once

#include "bm/Params.h"

#include <string>

namespace bmhost {

/// A call's result: the group has no such row.
constexpr int NoRow = 4;

/// The row's value as people read it; "-" without it.
std::string TextOf(const BM_ADAPTOR::CBMIParams& row, unsigned id);
/// The row's integer; 0 without it.
int32_t IntegerOf(const BM_ADAPTOR::CBMIParams& row, unsigned id);

BM_ADAPTOR::CBMIParam Integer(unsigned id, int32_t value, bool key);
/// Keys of one integer.
BM_ADAPTOR::CBMIKeys KeyOf(unsigned id, int32_t value);

} // namespace bmhost
