// What the storage tells in the log when it refuses something: the adaptor's results do not say why.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>

namespace BMHOST {

/// Listens to the log for as long as it lives, or until somebody else does.
class STORAGE_LOG {
public:
    STORAGE_LOG();
    STORAGE_LOG(const STORAGE_LOG&) = delete;
    STORAGE_LOG& operator=(const STORAGE_LOG&) = delete;
    ~STORAGE_LOG();

    /// How often it has told something.
    std::size_t Count() const;
    /// What it told last: "EndTransaction - FILE: reason".
    std::string Last() const;

private:
    mutable std::mutex m_Guard;
    std::size_t m_Count = 0;
    std::string m_Last;
};

} // namespace BMHOST
