// The DSPs' IP addresses in the host's storage.
#pragma once

#include <atomic>
#include <string>

namespace QUB_STORAGE {
class CDataStorage;
}

namespace BM_ADAPTOR {

/// Reads and writes the addresses, each operation in a transaction of its own. Any thread; the storage is waited for.
/// A thread that has a transaction open already is refused by the storage.
class DSP_IP_STORE {
public:
    /// @param a_Storage  may hold null: then every operation gives 0
    explicit DSP_IP_STORE(const std::atomic<QUB_STORAGE::CDataStorage*>& a_Storage) : m_Storage(a_Storage) {}

    /// Stores the default addresses of DSP 1 to 4 when no address is stored at all.
    /// @return 1 when there were addresses; else the storage's result for the last default, or for the transaction
    int Seed() const;
    /// @return 1; 0, logged, when the DSP has no address, and the text is left as it is
    int Get(int a_Dsp, std::string& a_IP) const;
    /// Stores the text as it comes.
    /// @param a_bCreate  whether the DSP must have no address yet; else the row is made or replaced
    /// @return the storage's result
    int Set(int a_Dsp, const std::string& a_IP, bool a_bCreate) const;

private:
    const std::atomic<QUB_STORAGE::CDataStorage*>& m_Storage;
};

} // namespace BM_ADAPTOR
