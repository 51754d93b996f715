// The rows of one storage file in memory, found by their keys.
#pragma once

#include "bm/Params.h"

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace bm_storage {

/// A parameter's value; both integer types carry the same 32 bits.
using Value = std::variant<bool, int32_t, std::string>;
/// What selects a row: its key parameters by id.
using Key = std::map<unsigned, Value>;

/// Throws StorageError when a parameter has an unknown type or an id appears twice.
Key KeyOf(const BM_ADAPTOR::CBMIParams& keys);

/// The row that is stored for these keys and values: first the keys, flagged as such, each once. Values that repeat a
/// key with the same value are left out. Throws StorageError when keys and values cannot make a row.
BM_ADAPTOR::CBMIParams MakeRow(const BM_ADAPTOR::CBMIKeys& keys, const BM_ADAPTOR::CBMIParams& values);

class Rows {
public:
    /// The row with exactly these keys, or null.
    const BM_ADAPTOR::CBMIParams* Find(const Key& key) const;
    /// Replaces the row with these keys in its place, or appends it. The keys are the parameters that are flagged as
    /// keys.
    void Set(BM_ADAPTOR::CBMIParams row);
    /// Appends the row. False, without a change, when a row with its keys exists.
    bool Add(BM_ADAPTOR::CBMIParams row);
    /// In the order in which they were created.
    const std::vector<BM_ADAPTOR::CBMIParams>& All() const { return m_rows; }

private:
    std::vector<BM_ADAPTOR::CBMIParams> m_rows;
    std::map<Key, std::size_t> m_index;
};

} // namespace bm_storage
