// A value that host threads read while another thread replaces it.
#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace BM_ADAPTOR {

/// Any thread may call the operations. The lock is held only while a pointer is copied. The last owner of a value
/// destroys it, outside the lock.
template <typename VALUE>
class SNAPSHOT {
public:
    /// The value as it is now; it does not change while the caller keeps it. Never null.
    std::shared_ptr<const VALUE> Get() const {
        {
            const std::lock_guard l_Guard(m_Lock);
            if (m_Value != nullptr) return m_Value;
        }
        static const auto& s_Empty = *new std::shared_ptr<const VALUE>(std::make_shared<const VALUE>());
        return s_Empty;
    }

    void Replace(VALUE a_Value) { mExchange(std::make_shared<const VALUE>(std::move(a_Value))); }
    /// Makes it empty, without an allocation.
    void Clear() { mExchange(nullptr); }

private:
    void mExchange(std::shared_ptr<const VALUE> a_Value) {
        const std::lock_guard l_Guard(m_Lock);
        m_Value.swap(a_Value); // the caller's copy, with the old value, ends after the guard
    }

    mutable std::mutex m_Lock;
    std::shared_ptr<const VALUE> m_Value; ///< null: empty
};

} // namespace BM_ADAPTOR
