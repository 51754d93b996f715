// Scope guard for the host's mutex.
#pragma once

#include "bm/OSAL.h"

namespace BM_ADAPTOR {

/// Holds an OSAL mutex for a scope.
class OSAL_LOCK {
public:
    explicit OSAL_LOCK(OSAL::OSALMutex& a_Mutex) : m_Mutex(a_Mutex) { m_Mutex.Lock(); }
    OSAL_LOCK(const OSAL_LOCK&) = delete;
    OSAL_LOCK& operator=(const OSAL_LOCK&) = delete;
    ~OSAL_LOCK() { m_Mutex.Unlock(); }

private:
    OSAL::OSALMutex& m_Mutex;
};

} // namespace BM_ADAPTOR
