// Rows as the resident host's calls carry them, as JSON and back.
#include "host/client/WireRows.h"

#include "host/output/ParamJson.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

#include "bm_dev/ByteText.h"

#include <limits>
#include <stdexcept>

namespace bmhost {

using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;
using BM_ADAPTOR::CBMITable;
using nlohmann::ordered_json;

namespace {

[[noreturn]] void RefuseWire(const char* what, const ordered_json& value) {
    constexpr std::size_t longest = 80;
    throw std::runtime_error(std::string(what) + " " +
                             value.dump(-1, ' ', true, ordered_json::error_handler_t::replace).substr(0, longest));
}

const ordered_json& Member(const ordered_json& object, const char* key) {
    if (!object.is_object() || !object.contains(key)) RefuseWire("no parameter", object);
    return object.at(key);
}

// The other way round: each of the characters up to U+00FF is a byte.
std::string BytesOf(const ordered_json& value) {
    if (!value.is_string()) RefuseWire("no text", value);
    const auto& text = value.get_ref<const std::string&>();
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto first = static_cast<unsigned char>(text[i]);
        if (first < 0x80) {
            bytes += text[i];
        } else if (first < 0xC4 && i + 1 < text.size()) {
            const auto second = static_cast<unsigned char>(text[++i]);
            bytes += static_cast<char>(static_cast<unsigned>(first & 0x03U) << 6U | (second & 0x3FU));
        } else {
            RefuseWire("no byte in the text", value);
        }
    }
    return bytes;
}

CBMIParam ParamOfWire(const ordered_json& object) {
    const unsigned id = NumberOfWire(Member(object, "id"));
    const ordered_json& key = Member(object, "key");
    if (!key.is_boolean()) RefuseWire("no parameter", object);
    const ordered_json& value = Member(object, "value");
    const auto type = static_cast<BM_ADAPTOR::BMIParamType_e>(IntegerOfWire(Member(object, "type")));
    CBMIParam param(type, id, key.get<bool>());
    switch (type) {
    case BM_ADAPTOR::BMI_PARAM_BOOL:
        if (!value.is_boolean()) RefuseWire("no parameter", object);
        param.SetBool(value.get<bool>());
        break;
    case BM_ADAPTOR::BMI_PARAM_STRING:
        param.SetString(BytesOf(value));
        break;
    case BM_ADAPTOR::BMI_PARAM_INT:
    case BM_ADAPTOR::BMI_PARAM_UINT:
        param.SetInt(IntegerOfWire(value));
        break;
    default:
        RefuseWire("no type", object);
    }
    return param;
}

} // namespace

nlohmann::json WireRow(const CBMIParams& row) {
    nlohmann::json params = nlohmann::json::array();
    for (int i = 0; i < row.GetSize(); ++i) {
        const CBMIParam& param = *row.Get(i);
        params.push_back(
            {{"id", Hex(param.GetId())}, {"type", static_cast<int>(param.GetType())}, {"value", ParamJson(param)}});
    }
    return params;
}

void AddWireRow(const ordered_json& params, CBMIParams& row) {
    if (!params.is_array()) RefuseWire("no row", params);
    for (const ordered_json& object : params)
        row.Add(ParamOfWire(object));
}

std::unique_ptr<CBMIParams> RowOfWire(const ordered_json& row) {
    if (row.is_null()) return nullptr;
    auto made = std::make_unique<CBMIParams>();
    AddWireRow(row, *made);
    return made;
}

std::unique_ptr<CBMITable> TableOfWire(const ordered_json& rows) {
    if (rows.is_null()) return nullptr;
    if (!rows.is_array()) RefuseWire("no table", rows);
    auto table = std::make_unique<CBMITable>();
    for (const ordered_json& params : rows) {
        CBMIParams row;
        AddWireRow(params, row);
        table->AddRow(row);
    }
    return table;
}

unsigned NumberOfWire(const ordered_json& value) {
    const auto number = value.is_string() ? ParseNumber(value.get_ref<const std::string&>()) : std::nullopt;
    if (!number || *number < 0 || *number > std::numeric_limits<uint32_t>::max()) RefuseWire("no number", value);
    return static_cast<unsigned>(*number);
}

int32_t IntegerOfWire(const ordered_json& value) {
    if (!value.is_number_integer() || value.get<int64_t>() < std::numeric_limits<int32_t>::min() ||
        value.get<int64_t>() > std::numeric_limits<int32_t>::max())
        RefuseWire("no integer", value);
    return value.get<int32_t>();
}

} // namespace bmhost
