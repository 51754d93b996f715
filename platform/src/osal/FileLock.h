// File locks (flock) with a limited wait, and their holders.
#pragma once

#include <chrono>
#include <string>

namespace bm_osal {

/// Locks an open file. False on failure: errno has the reason, EWOULDBLOCK when another process held the lock all the
/// time.
bool LockWithin(int number, std::chrono::milliseconds wait);

/// The holder of a lock on this open folder or file, for people: "process 4711 (vi)".
std::string LockHolder(int number);

} // namespace bm_osal
