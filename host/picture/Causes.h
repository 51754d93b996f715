// What is wrong with a blade, by its picture: each fault and each red LED with its cause, what shows it, and what cures
// it.
#pragma once

#include "host/picture/Picture.h"
#include "host/words/Situations.h"

#include <vector>

namespace bmhost {

/// Everything that is wrong: what explains others first, then place by place. The picture's own m_faults are not
/// looked at. AdviceFor (Situations.h) gives cause and cure of a single call.
std::vector<Fault> FaultsOf(const Picture& picture);

} // namespace bmhost
