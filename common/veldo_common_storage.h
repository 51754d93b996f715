// A scope guard for transactions of the host's storage.
#pragma once

#include "bm/DataStorage.h"
#include "common/veldo_common_protocol.h"

namespace BM_ADAPTOR {

/// A transaction of the host's storage, from the construction to End or to the end of the scope. The storage refuses
/// all access outside a transaction.
class STORAGE_TRANSACTION {
public:
    explicit STORAGE_TRANSACTION(QUB_STORAGE::CDataStorage& a_Storage)
        : m_Storage(a_Storage),
          m_Begun(a_Storage.StartTransaction()),
          m_Open(m_Begun == RESULT_OK) {}
    STORAGE_TRANSACTION(const STORAGE_TRANSACTION&) = delete;
    STORAGE_TRANSACTION& operator=(const STORAGE_TRANSACTION&) = delete;
    ~STORAGE_TRANSACTION() {
        if (m_Open) m_Storage.EndTransaction();
    }

    /// False when the storage gave none: nothing may be read or written then.
    bool IsOpen() const { return m_Open; }
    /// What the storage answered to StartTransaction.
    int Begun() const { return m_Begun; }

    /// Ends it: what was written is stored now or not at all.
    /// @param a_Written  the write's result
    /// @return the write's result when that failed, else EndTransaction's; Begun for a transaction that is not open
    int End(int a_Written) {
        if (!m_Open) return m_Begun;
        m_Open = false;
        const int l_Ended = m_Storage.EndTransaction();
        return a_Written == RESULT_OK ? l_Ended : a_Written;
    }

private:
    QUB_STORAGE::CDataStorage& m_Storage;
    int m_Begun;
    bool m_Open;
};

} // namespace BM_ADAPTOR
