// `bmhost why`: what is wrong with the blade, with cause, evidence and cure.
#pragma once

#include "host/output/Style.h"
#include "host/picture/Picture.h"

#include <string>
#include <vector>

namespace bmhost {

/// Nothing is wrong.
bool WhyIsGood(const Picture& picture);
/// Each fault in a paragraph, broken at the terminal's width; "nothing is wrong" without any.
std::string WhyText(const Picture& picture, const Style& style);
/// Those of a resident host, else what the picture shows.
std::vector<Fault> FaultsIn(const Picture& picture);

} // namespace bmhost
