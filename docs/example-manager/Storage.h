// A storage of the host's own: the adaptor's tables in memory, and in one file as soon as a transaction has ended.
#pragma once

#include <bm/DataStorage.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/// One transaction at a time; those of other threads wait. Only this process uses the file.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class Storage final : public QUB_STORAGE::CDataStorage {
public:
    /// Throws std::runtime_error when the file is there but has another form.
    explicit Storage(std::string file);

    int StartTransaction() override;
    int EndTransaction() override;
    int RetrieveRow(const std::string& table, const BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& row,
                    int force) override;
    int RetrieveTable(const std::string& table, BM_ADAPTOR::CBMITable& rows, int force) override;
    int CreateRow(const std::string& table, const BM_ADAPTOR::CBMIKeys& keys,
                  const BM_ADAPTOR::CBMIParams& row) override;
    int SetRow(const std::string& table, const BM_ADAPTOR::CBMIKeys& keys, const BM_ADAPTOR::CBMIParams& row) override;

private:
    using Rows = std::vector<BM_ADAPTOR::CBMIParams>;
    using Tables = std::map<std::string, Rows>;

    bool IsMine() const;
    int Put(const std::string& table, const BM_ADAPTOR::CBMIKeys& keys, const BM_ADAPTOR::CBMIParams& row,
            bool replace);
    static Tables Load(const std::string& file);
    void Save(const Tables& tables) const;

    std::string m_file;
    std::mutex m_turn;           ///< held from StartTransaction to EndTransaction
    mutable std::mutex m_guard;  ///< of m_owner
    std::thread::id m_owner;     ///< the thread whose transaction it is; none: no thread
    Tables m_tables;             ///< as in the file
    std::optional<Tables> m_new; ///< with the transaction's changes
};
