// The lines that the storage logs when it refuses something. The adaptor's results do not give the reason.
#pragma once

#include "host/session/LogEar.h"

#include <cstddef>
#include <mutex>
#include <string>

namespace bmhost {

/// Listens to the log as long as it lives.
class StorageLog {
public:
    StorageLog();

    /// How many such lines there were.
    std::size_t Count() const;
    /// The last such line: "EndTransaction - FILE: reason".
    std::string Last() const;

private:
    mutable std::mutex m_guard;
    std::size_t m_count = 0;
    std::string m_last;
    LogEar m_ear; // last, since it uses the other members
};

} // namespace bmhost
