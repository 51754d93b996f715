// The values of a row for tables that people read, and rows for a call.
#pragma once

#include "bm/Params.h"

#include <string>

namespace bmhost {

/// A call's result: the group has no such row.
constexpr int NoRow = 4;

/// The row's value as people read it; "-" when it is missing.
std::string TextOf(const BM_ADAPTOR::CBMIParams& row, unsigned id);
/// The row's integer; 0 when it is missing.
int32_t IntegerOf(const BM_ADAPTOR::CBMIParams& row, unsigned id);

BM_ADAPTOR::CBMIParam Integer(unsigned id, int32_t value, bool key);
/// Keys of one integer.
BM_ADAPTOR::CBMIKeys KeyOf(unsigned id, int32_t value);

} // namespace bmhost
