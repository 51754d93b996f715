// The rows of one storage file in memory, found by their keys.
#include "platform/src/storage/DataStorage_Rows.h"

#include "platform/src/storage/DataStorage_Error.h"

#include <cstdio>
#include <set>
#include <utility>

namespace bm_storage {

namespace {

using BM_ADAPTOR::CBMIKeys;
using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;

StorageError Refused(const CBMIParam& param, const char* reason) {
    char id[16];
    std::snprintf(id, sizeof id, "0x%x", param.GetId());
    return {NothingDone, std::string("parameter ") + id + " " + reason};
}

Value ValueOf(const CBMIParam& param) {
    switch (param.GetType()) {
    case BM_ADAPTOR::BMI_PARAM_BOOL:
        return param.GetBool();
    case BM_ADAPTOR::BMI_PARAM_INT:
    case BM_ADAPTOR::BMI_PARAM_UINT:
        return param.GetInt();
    case BM_ADAPTOR::BMI_PARAM_STRING:
        return param.GetString();
    }
    throw Refused(param, "has an unknown type");
}

CBMIParam WithKeyFlag(const CBMIParam& param) {
    CBMIParam flagged(param.GetType(), param.GetId(), true);
    flagged.SetBool(param.GetBool());
    flagged.SetInt(param.GetInt());
    flagged.SetString(param.GetString());
    return flagged;
}

Key KeyOfRow(const CBMIParams& row) {
    Key key;
    for (int i = 0; i < row.GetSize(); ++i)
        if (row.Get(i)->IsKey()) key.emplace(row.Get(i)->GetId(), ValueOf(*row.Get(i)));
    return key;
}

} // namespace

Key KeyOf(const CBMIParams& keys) {
    Key key;
    for (int i = 0; i < keys.GetSize(); ++i)
        if (!key.emplace(keys.Get(i)->GetId(), ValueOf(*keys.Get(i))).second) {
            throw Refused(*keys.Get(i), "appears twice");
        }
    return key;
}

CBMIParams MakeRow(const CBMIKeys& keys, const CBMIParams& values) {
    const Key key = KeyOf(keys);
    CBMIParams row;
    std::set<unsigned> seen;
    for (int i = 0; i < keys.GetSize(); ++i)
        row.Add(WithKeyFlag(*keys.Get(i)));
    for (int i = 0; i < values.GetSize(); ++i) {
        const CBMIParam& param = *values.Get(i);
        const Value value = ValueOf(param);
        if (!seen.insert(param.GetId()).second) throw Refused(param, "appears twice");
        if (const auto same = key.find(param.GetId()); same != key.end()) {
            if (same->second != value) throw Refused(param, "has one value as a key and another in the row");
        } else if (param.IsKey()) {
            throw Refused(param, "is flagged as a key of the row, but is not among the keys");
        } else {
            row.Add(param);
        }
    }
    if (key.empty()) throw StorageError(MissingParam, "no keys");
    if (row.GetSize() == keys.GetSize()) throw StorageError(MissingParam, "no value besides the keys");
    return row;
}

const CBMIParams* Rows::Find(const Key& key) const {
    const auto found = m_index.find(key);
    return found != m_index.end() ? &m_rows[found->second] : nullptr;
}

void Rows::Set(CBMIParams row) {
    if (const auto found = m_index.find(KeyOfRow(row)); found != m_index.end()) {
        m_rows[found->second] = std::move(row);
    } else {
        Add(std::move(row));
    }
}

bool Rows::Add(CBMIParams row) {
    m_rows.push_back(std::move(row));
    if (m_index.emplace(KeyOfRow(m_rows.back()), m_rows.size() - 1).second) return true;
    m_rows.pop_back();
    return false;
}

} // namespace bm_storage
