// The orders that several threads give to one switch port at once.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>

namespace BM_ADAPTOR {

/// Keeps the driven, shown and stored states of a port equal, without holding a lock while the driver or the storage
/// works and without any thread waiting for another: a host may write the port from a log line, or from a storage
/// transaction of its own that another writer of the port waits for.
///
/// Each thread carries out its own order. When orders overlap, the steps of one may have come between those of another;
/// so the thread that leaves last carries out the latest order once more, and again if another thread came meanwhile.
/// When no thread is left, the last thing done to the port was one order from beginning to end.
class SWITCHPORT_ORDERS {
public:
    /// One thread's order, from its first step to the end of the scope; used by that thread only.
    class ORDER {
    public:
        explicit ORDER(SWITCHPORT_ORDERS& a_Orders) : m_Orders(a_Orders), m_Number(a_Orders.mEnter()) {}
        ORDER(const ORDER&) = delete;
        ORDER& operator=(const ORDER&) = delete;
        ~ORDER() {
            if (!m_bLeft) m_Orders.mLeave();
        }

        /// The driver has taken the order: it is the latest, unless a later one was taken already.
        void Taken(int32_t a_Admin) { m_Orders.mTaken(m_Number, a_Admin); }

        /// After all steps: the state to bring about once more, or nothing when the order has ended.
        std::optional<int32_t> Again() {
            const auto l_Admin = m_Orders.mAgain();
            m_bLeft = !l_Admin;
            return l_Admin;
        }

    private:
        SWITCHPORT_ORDERS& m_Orders;
        uint64_t m_Number;
        bool m_bLeft = false;
    };

private:
    uint64_t mEnter() {
        const std::lock_guard l_Guard(m_Lock);
        m_bMixed = m_AtWork > 0;
        if (!m_bMixed) m_Admin.reset();
        ++m_AtWork;
        return ++m_Given;
    }

    void mTaken(uint64_t a_Number, int32_t a_Admin) {
        const std::lock_guard l_Guard(m_Lock);
        if (m_Admin && m_Latest > a_Number) return;
        m_Latest = a_Number;
        m_Admin = a_Admin;
    }

    std::optional<int32_t> mAgain() {
        const std::lock_guard l_Guard(m_Lock);
        if (m_AtWork == 1 && m_bMixed && m_Admin) {
            m_bMixed = false;
            return m_Admin;
        }
        --m_AtWork;
        return std::nullopt;
    }

    void mLeave() {
        const std::lock_guard l_Guard(m_Lock);
        --m_AtWork;
    }

    std::mutex m_Lock; ///< of the members below, held for one look at them
    uint64_t m_Given = 0;
    int m_AtWork = 0;               ///< threads with an order
    bool m_bMixed = false;          ///< orders have overlapped since a thread last carried one out alone
    uint64_t m_Latest = 0;          ///< the number of the latest order that the driver has taken
    std::optional<int32_t> m_Admin; ///< its state
};

} // namespace BM_ADAPTOR
