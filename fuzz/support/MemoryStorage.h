// The host's storage in memory: rows by file and keys, one transaction at a time, failures as told.
#pragma once

#include "bm/DataStorage.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace fuzzing {

class MemoryStorage final : public QUB_STORAGE::CDataStorage {
public:
    /// What every operation but the transaction's answers, unless it is 1.
    int m_answer = 1;

    int StartTransaction() override {
        m_turn.lock();
        return 1;
    }
    int EndTransaction() override {
        m_turn.unlock();
        return 1;
    }

    int RetrieveRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& row,
                    int) override {
        if (m_answer != 1) return m_answer;
        const BM_ADAPTOR::CBMIParams* const found = Find(file, keys);
        if (found == nullptr) return 4;
        for (int i = 0; i < found->GetSize(); ++i) {
            if (auto* const known = row.GetParamById(found->Get(i)->GetId()); known != nullptr) {
                *known = *found->Get(i);
            } else {
                row.Add(*found->Get(i));
            }
        }
        return 1;
    }
    int RetrieveTable(const std::string& file, BM_ADAPTOR::CBMITable& table, int) override {
        for (auto& row : m_files[file])
            table.AddRow(row);
        return m_answer;
    }
    int CreateRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys,
                  const BM_ADAPTOR::CBMIParams& row) override {
        return Find(file, keys) != nullptr ? 0 : SetRow(file, keys, row);
    }
    int SetRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys, const BM_ADAPTOR::CBMIParams& row) override {
        if (m_answer != 1) return m_answer;
        BM_ADAPTOR::CBMIParams stored = keys;
        for (int i = 0; i < row.GetSize(); ++i)
            if (stored.GetParamById(row.Get(i)->GetId()) == nullptr) stored.Add(*row.Get(i));
        if (auto* const known = Find(file, keys); known != nullptr) {
            *known = stored;
        } else {
            m_files[file].push_back(stored);
        }
        return 1;
    }

private:
    // Every key is an integer.
    BM_ADAPTOR::CBMIParams* Find(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys) {
        for (auto& row : m_files[file]) {
            bool same = true;
            for (int i = 0; same && i < keys.GetSize(); ++i) {
                const auto* const param = row.GetParamById(keys.Get(i)->GetId());
                same = param != nullptr && param->GetInt() == keys.Get(i)->GetInt();
            }
            if (same) return &row;
        }
        return nullptr;
    }

    std::mutex m_turn;
    std::map<std::string, std::vector<BM_ADAPTOR::CBMIParams>> m_files;
};

} // namespace fuzzing
