// A storage of the host's own.
#include "Storage.h"

#include <ipmi_adaptor/Protocol.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <utility>

using namespace BM_ADAPTOR;

namespace {

std::vector<const CBMIParam*> KeysOf(const CBMIParams& row) {
    std::vector<const CBMIParam*> keys;
    for (int i = 0; i < row.GetSize(); ++i) {
        if (row.Get(i)->IsKey()) keys.push_back(row.Get(i));
    }
    return keys;
}

/// Both integer types are equal.
bool SameValue(const CBMIParam& one, const CBMIParam& other) {
    return one.GetInt() == other.GetInt() && one.GetBool() == other.GetBool() && one.GetString() == other.GetString();
}

bool HasKeys(const CBMIParams& row, const CBMIKeys& keys) {
    const std::vector<const CBMIParam*> own = KeysOf(row);
    return static_cast<int>(own.size()) == keys.GetSize() &&
           std::all_of(own.begin(), own.end(), [&](const CBMIParam* key) {
               const CBMIParam* const wanted = keys.GetParamById(key->GetId());
               return wanted != nullptr && SameValue(*key, *wanted);
           });
}

template <typename Rows>
auto Find(Rows& rows, const CBMIKeys& keys) {
    return std::find_if(rows.begin(), rows.end(), [&](const CBMIParams& row) { return HasKeys(row, keys); });
}

CBMIParam Copy(const CBMIParam& param, bool key) {
    CBMIParam copy(param.GetType(), param.GetId(), key);
    copy.SetInt(param.GetInt());
    copy.SetBool(param.GetBool());
    copy.SetString(param.GetString());
    return copy;
}

} // namespace

Storage::Storage(std::string file) : m_file(std::move(file)), m_tables(Load(m_file)) {}

int Storage::StartTransaction() {
    if (IsMine()) return RESULT_NOTHING_DONE;
    m_turn.lock();
    const std::lock_guard lock(m_guard);
    m_owner = std::this_thread::get_id();
    m_new = m_tables;
    return RESULT_OK;
}

int Storage::EndTransaction() {
    if (!IsMine()) return RESULT_NOTHING_DONE;
    int result = RESULT_OK;
    try {
        Save(*m_new);
        m_tables = std::move(*m_new);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "example_manager: %s\n", error.what());
        result = RESULT_NOTHING_DONE;
    }
    {
        const std::lock_guard lock(m_guard);
        m_owner = {};
        m_new.reset();
    }
    m_turn.unlock();
    return result;
}

int Storage::RetrieveRow(const std::string& table, const CBMIKeys& keys, CBMIParams& row, int /*force*/) {
    if (!IsMine()) return RESULT_NOTHING_DONE;
    const auto found = Find((*m_new)[table], keys);
    if (found == (*m_new)[table].end()) return RESULT_NO_ROW;
    for (int i = 0; i < found->GetSize(); ++i) {
        CBMIParam* const present = row.GetParamById(found->Get(i)->GetId());
        if (present != nullptr) {
            *present = *found->Get(i);
        } else {
            row.Add(*found->Get(i));
        }
    }
    return RESULT_OK;
}

int Storage::RetrieveTable(const std::string& table, CBMITable& rows, int /*force*/) {
    if (!IsMine()) return RESULT_NOTHING_DONE;
    for (CBMIParams& row : (*m_new)[table])
        rows.AddRow(row);
    return RESULT_OK;
}

int Storage::CreateRow(const std::string& table, const CBMIKeys& keys, const CBMIParams& row) {
    return Put(table, keys, row, false);
}

int Storage::SetRow(const std::string& table, const CBMIKeys& keys, const CBMIParams& row) {
    return Put(table, keys, row, true);
}

bool Storage::IsMine() const {
    const std::lock_guard lock(m_guard);
    return m_owner == std::this_thread::get_id();
}

int Storage::Put(const std::string& table, const CBMIKeys& keys, const CBMIParams& row, bool replace) {
    if (!IsMine()) return RESULT_NOTHING_DONE;
    CBMIParams stored;
    for (int i = 0; i < keys.GetSize(); ++i)
        stored.Add(Copy(*keys.Get(i), true));
    for (int i = 0; i < row.GetSize(); ++i) {
        if (keys.GetParamById(row.Get(i)->GetId()) == nullptr) stored.Add(Copy(*row.Get(i), false));
    }
    if (keys.GetSize() == 0 || stored.GetSize() == keys.GetSize()) return RESULT_NO_VALUE;
    Rows& rows = (*m_new)[table];
    const auto found = Find(rows, keys);
    if (found == rows.end()) {
        rows.push_back(std::move(stored));
    } else if (replace) {
        *found = std::move(stored);
    } else {
        return RESULT_NOTHING_DONE;
    }
    return RESULT_OK;
}

// A line for each value: table, row, id, type, key, integer, text. A row ends where its number does.
Storage::Tables Storage::Load(const std::string& file) {
    Tables tables;
    std::ifstream stream(file);
    std::string line;
    while (std::getline(stream, line)) {
        std::istringstream words(line);
        std::string table, text;
        std::size_t row = 0;
        unsigned id = 0;
        int type = 0;
        int32_t number = 0;
        bool key = false;
        if (!(words >> std::quoted(table) >> row >> id >> type >> key >> number >> std::quoted(text)))
            throw std::runtime_error(file + ": no storage: " + line);
        Rows& rows = tables[table];
        if (row >= rows.size()) rows.emplace_back();
        CBMIParam param(static_cast<BMIParamType_e>(type), id, key);
        if (type == BMI_PARAM_BOOL) param.SetBool(number != 0);
        if (type == BMI_PARAM_INT || type == BMI_PARAM_UINT) param.SetInt(number);
        if (type == BMI_PARAM_STRING) param.SetString(text);
        rows.back().Add(param);
    }
    return tables;
}

void Storage::Save(const Tables& tables) const {
    const std::string unfinished = m_file + ".new";
    std::ofstream stream(unfinished);
    for (const auto& [table, rows] : tables) {
        for (std::size_t row = 0; row < rows.size(); ++row) {
            for (int i = 0; i < rows[row].GetSize(); ++i) {
                const CBMIParam& param = *rows[row].Get(i);
                const int32_t number = param.GetType() == BMI_PARAM_BOOL ? int32_t{param.GetBool()} : param.GetInt();
                stream << std::quoted(table) << ' ' << row << ' ' << param.GetId() << ' ' << param.GetType() << ' '
                       << param.IsKey() << ' ' << number << ' ' << std::quoted(param.GetString()) << '\n';
            }
        }
    }
    stream.close();
    if (!stream || std::rename(unfinished.c_str(), m_file.c_str()) != 0)
        throw std::runtime_error(m_file + ": cannot be written");
}
