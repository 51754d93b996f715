// A row of the adaptor as a JSON object with the names of its columns, and back.
#include "host/picture/RowJson.h"

#include "common/veldo_common_protocol.h"
#include "host/output/ParamJson.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

// The protocol's names of these two say nothing.
constexpr const char* DspType = "dsp_type";
constexpr const char* DspCount = "dsps";

std::string KeyOfColumn(unsigned id) {
    if (id == BMI_HW_AMC_FRU_FIELD_A) return DspType;
    if (id == BMI_HW_AMC_FRU_FIELD_B) return DspCount;
    std::string key = ColumnName(id);
    std::replace(key.begin(), key.end(), ' ', '_');
    return key;
}

/// The keys of the columns that have names. A picture has hundreds of them, so they are made once.
struct Keys {
    Keys() {
        for (const PARAMETER_NAME& name : g_ParameterNames) {
            const auto [column, isNew] = m_keys.emplace(name.m_Id, KeyOfColumn(name.m_Id));
            for (const GROUP_NAME& group : g_GroupNames) {
                if (IsParameterOf(name.m_Id, group.m_Group))
                    m_ids.emplace(std::pair(group.m_Group, column->second), name.m_Id);
            }
        }
    }

    std::map<unsigned, std::string> m_keys;
    std::map<std::pair<unsigned, std::string>, unsigned> m_ids; ///< by group and key
};

const Keys& TheKeys() {
    static const Keys keys;
    return keys;
}

std::string JsonKey(unsigned id) {
    const auto found = TheKeys().m_keys.find(id);
    return found != TheKeys().m_keys.end() ? found->second : KeyOfColumn(id);
}

/// What the protocol says of a column; of one without a name, what can be said.
PARAMETER_NAME ColumnOf(unsigned id) {
    const auto* const found = std::ranges::find(g_ParameterNames, id, &PARAMETER_NAME::m_Id);
    if (found != g_ParameterNames.end()) return *found;
    return {{}, id, BMI_PARAM_INT, false};
}

std::optional<unsigned> IdOf(const std::string& key, unsigned group) {
    if (const auto found = TheKeys().m_ids.find({group, key}); found != TheKeys().m_ids.end()) return found->second;
    if (!key.starts_with("0x")) return std::nullopt;
    const auto number = ParseNumber(key);
    if (!number || *number < 0 || *number > std::numeric_limits<uint32_t>::max()) return std::nullopt;
    return static_cast<unsigned>(*number);
}

CBMIParam ParamOf(const ordered_json& value, const PARAMETER_NAME& column, const std::string& place) {
    if (value.is_boolean()) {
        CBMIParam param(BMI_PARAM_BOOL, column.m_Id, column.m_Key);
        param.SetBool(value.get<bool>());
        return param;
    }
    if (value.is_string()) {
        CBMIParam param(BMI_PARAM_STRING, column.m_Id, column.m_Key);
        param.SetString(BytesOfUtf8(value.get<std::string>()));
        return param;
    }
    const bool isSmall = value.is_number_integer() && value >= std::numeric_limits<int32_t>::min() &&
                         value <= std::numeric_limits<int32_t>::max();
    if (!isSmall) throw std::runtime_error(place + ": expected a text, true or false, or a number of 32 bits");
    const bool isInteger = column.m_Type == BMI_PARAM_INT || column.m_Type == BMI_PARAM_UINT;
    CBMIParam param(isInteger ? column.m_Type : BMI_PARAM_INT, column.m_Id, column.m_Key);
    param.SetInt(value.get<int32_t>());
    return param;
}

} // namespace

ordered_json RowJson(const CBMIParams& row) {
    ordered_json object = ordered_json::object();
    for (int i = 0; i < row.GetSize(); ++i)
        object[JsonKey(row.Get(i)->GetId())] = ParamJson(*row.Get(i));
    return object;
}

CBMIParams RowOfJson(const ordered_json& object, unsigned group, const std::string& place) {
    if (!object.is_object()) throw std::runtime_error(place + ": expected an object");
    std::map<unsigned, CBMIParam> columns;
    for (const auto& [key, value] : object.items()) {
        const auto id = IdOf(key, group);
        if (!id) continue;
        std::string where = place;
        where.append(".").append(key);
        columns.emplace(*id, ParamOf(value, ColumnOf(*id), where));
    }
    CBMIParams row;
    for (const auto& [id, param] : columns)
        row.Add(param);
    return row;
}

std::string BytesOfUtf8(const std::string& text) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size();) {
        const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
        const int length = bm_dev::Utf8Length(std::string_view(text).substr(at));
        if (length == 1) {
            bytes += text[at];
        } else if (length == 2 && byte(at) <= 0xC3) {
            bytes += static_cast<char>((byte(at) << 6) | (byte(at + 1) & 0x3F));
        } else {
            bytes += '?';
        }
        at += length > 0 ? static_cast<std::size_t>(length) : 1;
    }
    return bytes;
}

} // namespace bmhost
