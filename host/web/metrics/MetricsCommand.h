// `bmhost metrics`: the metrics of this machine's blade, once.
#pragma once

#include <string>
#include <vector>

namespace bmhost {

/// Asks the resident host and writes to standard output, or to a file that is replaced as a whole. Throws UsageError
/// for other words, std::runtime_error where the host may not be asked or the file not be written.
/// @param words  after "metrics"
/// @return the exit status
int MetricsCommand(const std::vector<std::string>& words);

} // namespace bmhost
