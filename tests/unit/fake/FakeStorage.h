// The host's storage as tests play it: rows in memory, scripted refusals, everything that was asked is kept.
#pragma once

#include "bm/DataStorage.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// Rows are found by the value of their one key. One thread at a time.
class FAKE_STORAGE : public QUB_STORAGE::CDataStorage {
public:
    virtual ~FAKE_STORAGE() = default;

    /// What an operation answers instead of doing anything, by its name ("CreateRow"); or by name and key
    /// ("CreateRow 2").
    std::map<std::string, int> m_Refusals{};
    /// Every call in order: "StartTransaction", "SetRow FILE 0x30d12 i:1 key | 0x30d12 i:1 key, 0x30d14 s:10.0.0.1".
    std::vector<std::string> m_Calls{};
    /// File, key, row.
    std::map<std::string, std::map<int32_t, BM_ADAPTOR::CBMIParams>> m_Files{};
    /// Accesses outside of a transaction, transactions in transactions, ends without a start.
    int m_Misuses = 0;
    bool m_IsOpen = false;

    int StartTransaction() override;
    int EndTransaction() override;
    int RetrieveRow(const std::string& a_File, const BM_ADAPTOR::CBMIKeys& a_Keys, BM_ADAPTOR::CBMIParams& a_Row,
                    int a_Force) override;
    int RetrieveTable(const std::string& a_File, BM_ADAPTOR::CBMITable& a_Table, int a_Force) override;
    int CreateRow(const std::string& a_File, const BM_ADAPTOR::CBMIKeys& a_Keys,
                  const BM_ADAPTOR::CBMIParams& a_Row) override;
    int SetRow(const std::string& a_File, const BM_ADAPTOR::CBMIKeys& a_Keys,
               const BM_ADAPTOR::CBMIParams& a_Row) override;

private:
    int Refusal(const std::string& a_Name, const BM_ADAPTOR::CBMIKeys* a_Keys = nullptr) const;
};
