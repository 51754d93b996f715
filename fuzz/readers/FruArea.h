// FRU areas whose checksums are right, which those of a fuzzer seldom are.
#pragma once

#include <cstdint>
#include <vector>

namespace fuzzing {

using Area = std::vector<uint8_t>;

/// Makes the common header valid; an area shorter than it stays as it is.
void MendHeaderOf(Area& area);

/// Makes the checksums of the multirecords right, as far as the records are whole.
void MendRecordsOf(Area& area);

} // namespace fuzzing
