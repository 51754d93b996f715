// The host's storage: named files of keyed rows.
#pragma once

#include "bm/Params.h"

#include <string>

namespace QUB_STORAGE {

/// Rows in files, read and changed in transactions. One transaction at a time: StartTransaction waits until a
/// transaction of another thread or process has ended, but at most 10 seconds for another process. File names have no
/// folder; a file that does not exist is a table without rows.
///
/// Every operation returns 1 on success, and throws nothing. On failure it returns
///  - 0 when nothing was done: StartTransaction of a thread that already has a transaction, or while another process
///    holds the lock; any other call of a thread that has none; a row that cannot be stored or already exists; a folder
///    or file that cannot be written
///  - 4 from RetrieveRow: no row has these keys
///  - 21 when the file exists but cannot be read or is damaged; it is left as it is
///  - 23 from CreateRow and SetRow: no keys, or no value besides them
///
/// Every failure except 4 leaves a line in the log that names operation, file and reason.
class CDataStorage {
public:
    virtual int StartTransaction() = 0;
    /// Makes all changes since StartTransaction visible and durable, or none. The transaction is over, whatever the
    /// result. After 0 none of the changes takes effect, now or later. After 1 all have taken effect; a line of level 3
    /// in the log says so if the disk did not confirm that they survive a power failure.
    virtual int EndTransaction() = 0;

    /// Adds the parameters of the row that has these keys, no more and no less, to `row`, keys first; parameters that
    /// `row` already has get their values. Changes of the thread's own transaction are visible.
    /// @param force  0: uses a file that was loaded before as long as it looks unchanged; otherwise reads it again
    virtual int RetrieveRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& row,
                            int force) = 0;
    /// Appends every row of `file` to `table`.
    virtual int RetrieveTable(const std::string& file, BM_ADAPTOR::CBMITable& table, int force) = 0;
    /// Adds a row made of `keys` and `row`; fails when one with these keys exists. `row` may repeat a key with the same
    /// value. The stored keys are flagged as keys, even if the given ones are not. As keys, integers of both types are
    /// equal.
    virtual int CreateRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys,
                          const BM_ADAPTOR::CBMIParams& row) = 0;
    /// Replaces the whole row with these keys, or creates it.
    virtual int SetRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys,
                       const BM_ADAPTOR::CBMIParams& row) = 0;

protected:
    ~CDataStorage() = default; // the host owns its storage
};

} // namespace QUB_STORAGE
