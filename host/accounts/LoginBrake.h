// Slows down whoever tries passwords: each failure of an account or of an address makes the next try wait longer.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace bmhost {

/// How a row of failures is slowed down.
struct BrakeCurve {
    int m_free = 5;                               ///< failures that cost nothing: people mistype
    std::chrono::milliseconds m_first{1000};      ///< after the first one that is not free; each further one doubles it
    std::chrono::milliseconds m_longest{300'000}; ///< and no wait is longer
    std::chrono::milliseconds m_forgotten{900'000}; ///< after so long without a try all is forgotten
    std::size_t m_most = 4096;                      ///< keys that are remembered
};

/// Any thread, several at once; nothing is waited for.
class LoginBrake {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Clock = std::function<Time()>;

    struct Curves {
        /// A stranger who tries an account from everywhere must not keep its owner out for long.
        BrakeCurve m_account{.m_longest = std::chrono::milliseconds(30'000)};
        BrakeCurve m_address{};
    };

    explicit LoginBrake(Clock clock = std::chrono::steady_clock::now) : LoginBrake(std::move(clock), Curves{}) {}
    LoginBrake(Clock clock, const Curves& curves);

    /// Asks for a try before any password is looked at. Zero: it may be made, and counts as failed until Succeeded is
    /// called, so that many tries at once count as many. Else how long to wait; a refused try counts for nothing.
    /// @param account  as it was given, whether there is one or not
    /// @param address  of the client; an IPv6 network of /64 counts as one
    std::chrono::milliseconds Try(const std::string& account, const std::string& address);
    /// The try was right: the account begins anew, the address loses this one only, since it may have tried others.
    void Succeeded(const std::string& account, const std::string& address);

    /// How many keys are remembered now.
    std::size_t Size() const;

private:
    /// The failures of each key, of which there are only so many.
    class Failures {
    public:
        explicit Failures(const BrakeCurve& curve) : m_curve(curve) {}
        std::chrono::milliseconds WaitOf(const std::string& key, Time now);
        void Note(const std::string& key, Time now);
        void TakeBack(const std::string& key);
        void Forget(const std::string& key) { m_rows.erase(key); }
        std::size_t Size() const { return m_rows.size(); }

    private:
        struct Row {
            int m_count = 0;
            Time m_last;
        };
        std::chrono::milliseconds DelayAfter(int count) const;
        void MakeRoom(Time now);

        const BrakeCurve m_curve;
        std::map<std::string, Row> m_rows;
    };

    const Clock m_clock;
    mutable std::mutex m_guard; // of both
    Failures m_accounts;
    Failures m_addresses;
};

} // namespace bmhost
