// Locks of files (flock) that are waited for within bounds, and who holds one.
#pragma once

#include <chrono>
#include <string>

namespace bm_osal {

/// Takes the lock of an open file. False when the operating system refuses it: errno tells why, EWOULDBLOCK that
/// somebody else has held it all the time.
bool LockWithin(int number, std::chrono::milliseconds wait);

/// Who holds a lock of this open folder or file, for people: "process 4711 (vi)".
std::string LockHolder(int number);

} // namespace bm_osal
