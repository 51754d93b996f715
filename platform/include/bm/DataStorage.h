// The host's storage: named files of keyed rows.
#pragma once

#include "bm/Params.h"

#include <string>

namespace QUB_STORAGE {

/// Rows in files, read and changed in transactions. One transaction at a time: StartTransaction waits for one of
/// another thread or process to end, for another process 10 seconds at most. A file is named without folder; one that
/// does not exist is a table without rows.
///
/// Every operation returns 1 on success, and throws nothing. Otherwise
///  - 0: nothing was done: StartTransaction of a thread that has one, or while another process does not let go; any
///  other
///    call of a thread that has none, a row that cannot be stored or exists already, a folder or file that cannot be
///    written
///  - 4: RetrieveRow, no row has these keys
///  - 21: the file is there, but cannot be read or is damaged; it is left as it is
///  - 23: CreateRow and SetRow, no keys, or no value beside them
///
/// Each but 4 comes with a line in the log that names operation, file and reason.
class CDataStorage {
public:
    virtual int StartTransaction() = 0;
    /// Makes every change since StartTransaction visible and durable, all or none. The transaction is over, whatever
    /// the result. After 0 nothing of it stands, now or later. After 1 all of it stands; where the disk did not confirm
    /// that it also outlives a power failure, a line of level 3 in the log says so.
    virtual int EndTransaction() = 0;

    /// Adds the parameters of the row that has these keys, no more and no less, to `row`, keys first; parameters that
    /// `row` has already get their values. Changes of the own transaction are seen.
    /// @param force  0: a file that was loaded before is used as long as it looks unchanged; otherwise it is read again
    virtual int RetrieveRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& row,
                            int force) = 0;
    /// Appends every row of `file` to `table`.
    virtual int RetrieveTable(const std::string& file, BM_ADAPTOR::CBMITable& table, int force) = 0;
    /// Adds a row; fails when one with these keys exists. The row is made of keys and row; a key may be repeated in
    /// `row` with the same value. The keys' flags are set, whether they were or not. Integers of both types are equal
    /// as keys.
    virtual int CreateRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys,
                          const BM_ADAPTOR::CBMIParams& row) = 0;
    /// Replaces the row with these keys as a whole, or creates it.
    virtual int SetRow(const std::string& file, const BM_ADAPTOR::CBMIKeys& keys,
                       const BM_ADAPTOR::CBMIParams& row) = 0;

protected:
    ~CDataStorage() = default; // the host owns its storage
};

} // namespace QUB_STORAGE
