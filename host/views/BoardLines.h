// DSPs and switch ports as lines of a table.
#pragma once

#include "bm/Params.h"

#include <string>
#include <vector>

namespace bmhost {

constexpr int PortEnabled = 1;
constexpr int PortDisabled = 0;

const std::vector<std::string>& DspHeading();
/// @param row  of the AMCs' table
std::vector<std::string> DspLine(int dsp, const BM_ADAPTOR::CBMIParams& row, const std::string& address);

const std::vector<std::string>& PortHeading();
std::vector<std::string> PortLine(const BM_ADAPTOR::CBMIParams& row);

} // namespace bmhost
