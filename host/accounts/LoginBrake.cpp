// Slows down whoever tries passwords: each failure of an account or of an address makes the next try wait longer.
#include "host/accounts/LoginBrake.h"

#include "host/accounts/AccountFile.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <netinet/in.h>

namespace bmhost {

namespace {

using std::chrono::milliseconds;

// Names that no account can have are one: their texts are as long and as many as a client likes.
std::string AccountKey(const std::string& account) {
    return IsAccountName(account) ? account : std::string();
}

// A machine with one IPv6 address can use 2^64 of them.
std::string AddressKey(const std::string& address) {
    in6_addr six{};
    if (inet_pton(AF_INET6, address.c_str(), &six) != 1) return address.substr(0, INET6_ADDRSTRLEN);
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (IN6_IS_ADDR_V4MAPPED(&six)) return inet_ntop(AF_INET, &six.s6_addr[12], text.data(), text.size());
    std::memset(&six.s6_addr[8], 0, 8);
    return inet_ntop(AF_INET6, &six, text.data(), text.size());
}

} // namespace

LoginBrake::LoginBrake(Clock clock, const Curves& curves)
    : m_clock(std::move(clock)),
      m_accounts(curves.m_account),
      m_addresses(curves.m_address) {}

milliseconds LoginBrake::Try(const std::string& account, const std::string& address) {
    const std::string accountKey = AccountKey(account);
    const std::string addressKey = AddressKey(address);
    const Time now = m_clock();
    const std::lock_guard lock(m_guard);
    const milliseconds wait = std::max(m_accounts.WaitOf(accountKey, now), m_addresses.WaitOf(addressKey, now));
    if (wait > milliseconds(0)) return wait;
    m_accounts.Note(accountKey, now);
    m_addresses.Note(addressKey, now);
    return milliseconds(0);
}

void LoginBrake::Succeeded(const std::string& account, const std::string& address) {
    const std::lock_guard lock(m_guard);
    m_accounts.Forget(AccountKey(account));
    m_addresses.TakeBack(AddressKey(address));
}

std::size_t LoginBrake::Size() const {
    const std::lock_guard lock(m_guard);
    return m_accounts.Size() + m_addresses.Size();
}

milliseconds LoginBrake::Failures::WaitOf(const std::string& key, Time now) {
    const auto row = m_rows.find(key);
    if (row == m_rows.end()) return milliseconds(0);
    if (now - row->second.m_last >= m_curve.m_forgotten) {
        m_rows.erase(row);
        return milliseconds(0);
    }
    // Rounded up: a client that waits as long as it was told must not be refused again.
    const auto wait = std::chrono::ceil<milliseconds>(row->second.m_last + DelayAfter(row->second.m_count) - now);
    return std::max(wait, milliseconds(0));
}

void LoginBrake::Failures::Note(const std::string& key, Time now) {
    if (!m_rows.contains(key) && m_rows.size() >= m_curve.m_most) MakeRoom(now);
    Row& row = m_rows[key];
    row.m_count = std::min(row.m_count + 1, 1000);
    row.m_last = now;
}

void LoginBrake::Failures::TakeBack(const std::string& key) {
    const auto row = m_rows.find(key);
    if (row != m_rows.end() && --row->second.m_count <= 0) m_rows.erase(row);
}

milliseconds LoginBrake::Failures::DelayAfter(int count) const {
    milliseconds delay = count > m_curve.m_free ? m_curve.m_first : milliseconds(0);
    for (int beyond = count - m_curve.m_free; beyond > 1 && delay < m_curve.m_longest; --beyond)
        delay *= 2;
    return std::min(delay, m_curve.m_longest);
}

// Who has failed least goes first: nobody gets rid of his own failures with those of names that he makes up.
void LoginBrake::Failures::MakeRoom(Time now) {
    std::erase_if(m_rows, [&](const auto& row) { return now - row.second.m_last >= m_curve.m_forgotten; });
    if (m_rows.size() < m_curve.m_most) return;
    m_rows.erase(std::min_element(m_rows.begin(), m_rows.end(), [](const auto& one, const auto& other) {
        return std::pair(one.second.m_count, one.second.m_last) < std::pair(other.second.m_count, other.second.m_last);
    }));
}

} // namespace bmhost
