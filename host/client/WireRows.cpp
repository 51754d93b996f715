// Rows as the resident host's calls carry them, as JSON and back.
#include "host/client/WireRows.h"

#include "host/output/ParamJson.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

#include "bm_dev/ByteText.h"

#include <limits>
#include <stdexcept>
#include <utility>

namespace bmhost {

using namespace BM_ADAPTOR;
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

std::string TextOfWire(const ordered_json& value) {
    if (!value.is_string()) RefuseWire("no text", value);
    auto bytes = bm_dev::ExactBytesOfUtf8(value.get_ref<const std::string&>());
    if (!bytes) RefuseWire("no byte in the text", value);
    return *std::move(bytes);
}

BMIParamType_e TypeOfWire(const ordered_json& object) {
    const int32_t number = IntegerOfWire(Member(object, "type"));
    for (const BMIParamType_e type : {BMI_PARAM_BOOL, BMI_PARAM_INT, BMI_PARAM_UINT, BMI_PARAM_STRING}) {
        if (number == type) return type;
    }
    RefuseWire("no type", object);
}

CBMIParam ParamOfWire(const ordered_json& object) {
    const unsigned id = NumberOfWire(Member(object, "id"));
    const ordered_json& key = Member(object, "key");
    if (!key.is_boolean()) RefuseWire("no parameter", object);
    const ordered_json& value = Member(object, "value");
    const BMIParamType_e type = TypeOfWire(object);
    CBMIParam param(type, id, key.get<bool>());
    switch (type) {
    case BMI_PARAM_BOOL:
        if (!value.is_boolean()) RefuseWire("no parameter", object);
        param.SetBool(value.get<bool>());
        break;
    case BMI_PARAM_STRING:
        param.SetString(TextOfWire(value));
        break;
    case BMI_PARAM_INT:
    case BMI_PARAM_UINT:
        param.SetInt(IntegerOfWire(value));
        break;
    }
    return param;
}

} // namespace

ordered_json JsonOfWire(const std::string& text) {
    constexpr int deepest = 64;
    bool tooDeep = false;
    const auto look = [&tooDeep](int depth, ordered_json::parse_event_t, const ordered_json&) {
        tooDeep = tooDeep || depth > deepest;
        return !tooDeep;
    };
    ordered_json parsed = ordered_json::parse(text, look, false);
    return tooDeep ? ordered_json(ordered_json::value_t::discarded) : parsed;
}

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
    const bool large = value.is_number_unsigned() && value.get<uint64_t>() > std::numeric_limits<int32_t>::max();
    if (!value.is_number_integer() || large || value.get<int64_t>() < std::numeric_limits<int32_t>::min())
        RefuseWire("no integer", value);
    return value.get<int32_t>();
}

} // namespace bmhost
