// The host's storage: named files of keyed rows.
#pragma once

#include "bm/Params.h"

#include <string>

namespace QUB_STORAGE {

/// Rows in files, changed in transactions. Every operation returns 1 on success. Row access outside a transaction is
/// refused. One transaction at a time in a process: StartTransaction of another thread waits.
class CDataStorage {
public:
    virtual int StartTransaction() = 0;
    /// Makes every change since StartTransaction visible and durable, all or none.
    virtual int EndTransaction() = 0;

    /// Fills `row` with the row of `file` that has these keys.
    /// @param force  0: an already loaded file is used; otherwise it is read again
    virtual int RetrieveRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& row,
                            int force) = 0;
    /// Appends every row of `file` to `table`.
    virtual int RetrieveTable(const std::string& file, BM_ADAPTOR::CBMITable& table, int force) = 0;
    /// Adds a row; fails when one with these keys exists.
    virtual int CreateRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys,
                          const BM_ADAPTOR::CBMIParams& row) = 0;
    /// Replaces the row with these keys, or creates it.
    virtual int SetRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys,
                       const BM_ADAPTOR::CBMIParams& row) = 0;

protected:
    ~CDataStorage() = default; // the host owns its storage
};

} // namespace QUB_STORAGE
