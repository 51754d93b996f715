// The table of situations, in its parts.
#pragma once

#include "host/words/Situations.h"

#include <span>

namespace bmhost {

std::span<const Situation> StartSituations();
std::span<const Situation> ServiceSituations();

} // namespace bmhost
