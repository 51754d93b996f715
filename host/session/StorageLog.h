// What the storage tells in the log when it refuses something: the adaptor's results do not say why.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>

namespace bmhost {

/// Listens to the log for as long as it lives, or until somebody else does.
class StorageLog {
public:
    StorageLog();
    StorageLog(const StorageLog&) = delete;
    StorageLog& operator=(const StorageLog&) = delete;
    ~StorageLog();

    /// How often it has told something.
    std::size_t Count() const;
    /// What it told last: "EndTransaction - FILE: reason".
    std::string Last() const;

private:
    mutable std::mutex m_guard;
    std::size_t m_count = 0;
    std::string m_last;
};

} // namespace bmhost
