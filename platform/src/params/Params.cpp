// Rows and tables: plain owning containers, in the order of insertion.
#include "bm/Params.h"

#include <algorithm>

namespace BM_ADAPTOR {

namespace {

template <typename Item>
std::vector<std::unique_ptr<Item>> DeepCopy(const std::vector<std::unique_ptr<Item>>& items) {
    std::vector<std::unique_ptr<Item>> copy;
    copy.reserve(items.size());
    for (const auto& item : items)
        copy.push_back(std::make_unique<Item>(*item));
    return copy;
}

template <typename Item>
Item* At(const std::vector<std::unique_ptr<Item>>& items, int index) {
    if (index < 0 || index >= static_cast<int>(items.size())) return nullptr;
    return items[static_cast<std::size_t>(index)].get();
}

} // namespace

CBMIParam::CBMIParam(BMIParamType_e type, unsigned id, bool key) : m_Type(type), m_Id(id), m_Key(key) {}

BMIParamType_e CBMIParam::GetType() const {
    return m_Type;
}

unsigned CBMIParam::GetId() const {
    return m_Id;
}

bool CBMIParam::IsKey() const {
    return m_Key;
}

void CBMIParam::SetBool(bool value) {
    m_Bool = value;
}

bool CBMIParam::GetBool() const {
    return m_Bool;
}

void CBMIParam::SetInt(int32_t value) {
    m_Int = value;
}

int32_t CBMIParam::GetInt() const {
    return m_Int;
}

void CBMIParam::SetString(const std::string& value) {
    m_String = value;
}

const std::string& CBMIParam::GetString() const {
    return m_String;
}

CBMIParams::CBMIParams(const CBMIParams& other) : m_Params(DeepCopy(other.m_Params)) {}

CBMIParams& CBMIParams::operator=(const CBMIParams& other) {
    if (this != &other) m_Params = DeepCopy(other.m_Params);
    return *this;
}

void CBMIParams::Add(CBMIParam* param) {
    if (param == nullptr) return;
    std::unique_ptr<CBMIParam> owned(param); // owned before the vector may throw
    m_Params.push_back(std::move(owned));
}

void CBMIParams::Add(const CBMIParam& param) {
    m_Params.push_back(std::make_unique<CBMIParam>(param));
}

CBMIParam* CBMIParams::GetParamById(unsigned id) const {
    const auto found = std::find_if(m_Params.begin(), m_Params.end(),
                                    [id](const std::unique_ptr<CBMIParam>& param) { return param->GetId() == id; });
    return found != m_Params.end() ? found->get() : nullptr;
}

bool CBMIParams::GetParam(CBMIParam& param) const {
    const CBMIParam* found = GetParamById(param.GetId());
    if (found == nullptr) return false;
    param = *found;
    return true;
}

int CBMIParams::GetSize() const {
    return static_cast<int>(m_Params.size());
}

CBMIParam* CBMIParams::Get(int index) const {
    return At(m_Params, index);
}

CBMITable::CBMITable(const CBMITable& other) : m_Rows(DeepCopy(other.m_Rows)) {}

CBMITable& CBMITable::operator=(const CBMITable& other) {
    if (this != &other) m_Rows = DeepCopy(other.m_Rows);
    return *this;
}

void CBMITable::AddRow(CBMIParams* row) {
    if (row != nullptr) AddRow(*row);
}

void CBMITable::AddRow(CBMIParams& row) {
    m_Rows.push_back(std::make_unique<CBMIParams>(row));
}

int CBMITable::GetSize() const {
    return static_cast<int>(m_Rows.size());
}

CBMIParams* CBMITable::Get(int index) const {
    return At(m_Rows, index);
}

} // namespace BM_ADAPTOR
