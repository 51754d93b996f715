// In the place of host/resident/Lane.cpp: whoever gives work to a lane does it himself, at once.
#include "host/resident/Lane.h"

#include <utility>

namespace bmhost {

Lane::Lane(unsigned /*threads*/, std::size_t most, Idle idle) : m_most(most), m_idle(std::move(idle)) {}

Lane::~Lane() = default;

// NOLINTNEXTLINE(performance-unnecessary-value-param): a real lane keeps it
bool Lane::Give(Work work) {
    work();
    return true;
}

void Lane::Wake() {}

bool Lane::End(std::chrono::milliseconds /*time*/) {
    return true;
}

} // namespace bmhost
