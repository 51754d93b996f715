// A call of the fixed grammar as JSON: {"op": "read", "group": "0x300", "keys": [{"id": "bay", "type": 1, "value":
// 3}]}.
#include "host/api/CallJson.h"

#include "host/http/Reply.h"
#include "host/words/Error.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <set>
#include <string_view>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::json;

namespace {

constexpr int MostNested = 16; // what the library does with deeper ones takes stack for each level

// The JSON as it is told in an error: short.
std::string Shown(const json& value) {
    constexpr std::size_t most = 80;
    std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
    if (text.size() <= most) return text;
    text.resize(most);
    return text + "…";
}

[[noreturn]] void RefuseKey(const std::string& key, const json& value, const std::string& reason) {
    throw Refusal(400, key + ": " + Shown(value), reason);
}

void CheckKeys(const json& object, const std::string& place, std::initializer_list<std::string_view> known) {
    for (const auto& [key, value] : object.items()) {
        if (std::find(known.begin(), known.end(), key) != known.end()) continue;
        std::string expected;
        for (const std::string_view word : known)
            expected += (expected.empty() ? "" : ", ") + std::string(word);
        RefuseKey(place + key, value, "no such key here: expected " + expected);
    }
}

// A number from 0 to 0xffffffff, or a name that the function knows.
template <typename NumberOf>
unsigned NumberOrName(const json& value, const std::string& key, NumberOf numberOf) {
    if (value.is_number_integer()) {
        const bool fits =
            value.is_number_unsigned() ? value.get<uint64_t>() <= std::numeric_limits<uint32_t>::max() : false;
        if (!fits) RefuseKey(key, value, "expected a number from 0 to 0xffffffff");
        return value.get<uint32_t>();
    }
    if (!value.is_string()) RefuseKey(key, value, "expected a number or a name");
    try {
        return numberOf(value.get_ref<const std::string&>());
    } catch (const UsageError& error) {
        RefuseKey(key, value, error.what());
    }
}

BMIParamType_e TypeOf(const json& param, const std::string& place) {
    const auto type = param.find("type");
    const json& value = param.at("value");
    if (type == param.end()) {
        if (value.is_boolean()) return BMI_PARAM_BOOL;
        return value.is_string() ? BMI_PARAM_STRING : BMI_PARAM_INT;
    }
    for (const auto known : {BMI_PARAM_BOOL, BMI_PARAM_INT, BMI_PARAM_UINT, BMI_PARAM_STRING}) {
        if (type->is_number_integer() && *type == static_cast<int>(known)) return known;
    }
    RefuseKey(place + "type", *type, "expected 0 (bool), 1 (int), 2 (unsigned) or 4 (text)");
}

// Both integer types carry 32 bits; 0xFFFFFFFF is -1.
int32_t Int32Of(const json& value, const std::string& key) {
    if (!value.is_number_integer()) RefuseKey(key, value, "expected a whole number");
    const bool large = value.is_number_unsigned() && value.get<uint64_t>() > std::numeric_limits<uint32_t>::max();
    if (large || (!value.is_number_unsigned() && value.get<int64_t>() < std::numeric_limits<int32_t>::min()))
        RefuseKey(key, value, "expected a number of 32 bits");
    return static_cast<int32_t>(value.get<int64_t>());
}

void SetValue(CBMIParam& param, const json& value, const std::string& key) {
    switch (param.GetType()) {
    case BMI_PARAM_BOOL:
        if (!value.is_boolean()) RefuseKey(key, value, "expected true or false");
        param.SetBool(value.get<bool>());
        return;
    case BMI_PARAM_INT:
    case BMI_PARAM_UINT:
        param.SetInt(Int32Of(value, key));
        return;
    case BMI_PARAM_STRING:
        break;
    }
    if (!value.is_string()) RefuseKey(key, value, "expected a text");
    const auto bytes = bm_dev::ExactBytesOfUtf8(value.get_ref<const std::string&>());
    if (!bytes) RefuseKey(key, value, "expected characters up to U+00FF: each stands for one byte");
    param.SetString(*bytes);
}

template <typename RowType>
RowType RowOf(const json& call, const std::string& name, unsigned group, bool keys) {
    RowType row;
    const auto list = call.find(name);
    if (list == call.end() || list->is_null()) return row;
    if (!list->is_array()) RefuseKey(name, *list, "expected an array of {\"id\", \"type\", \"value\"}");
    for (std::size_t i = 0; i < list->size(); ++i) {
        const json& entry = (*list)[i];
        const std::string place = name + "[" + std::to_string(i) + "].";
        if (!entry.is_object()) RefuseKey(name + "[" + std::to_string(i) + "]", entry, "expected an object");
        CheckKeys(entry, place, {"id", "type", "value"});
        for (const char* needed : {"id", "value"}) {
            if (!entry.contains(needed)) RefuseKey(place + needed, nullptr, "it is missing");
        }
        const unsigned id = NumberOrName(entry.at("id"), place + "id",
                                         [=](const std::string& text) { return ParameterNumber(text, group); });
        CBMIParam param(TypeOf(entry, place), id, keys);
        SetValue(param, entry.at("value"), place + "value");
        row.Add(param);
    }
    return row;
}

Operation OperationOf(const json& call) {
    const auto op = call.find("op");
    if (op == call.end()) RefuseKey("op", nullptr, "expected read, table, write, start or stop");
    for (const auto known : {Operation::Read, Operation::Table, Operation::Write, Operation::Start, Operation::Stop}) {
        if (*op == OperationName(known)) return known;
    }
    for (const auto own : {Operation::Init, Operation::Fin}) {
        if (*op == OperationName(own))
            throw Refusal(409, "op: " + Shown(*op), "the resident host makes this call itself, once");
    }
    for (const auto wait : {Operation::Sleep, Operation::WaitEvent}) {
        if (*op == OperationName(wait))
            throw Refusal(409, "op: " + Shown(*op), "the client waits by itself; events are at /v1/events");
    }
    RefuseKey("op", *op, "expected read, table, write, start or stop");
}

} // namespace

json JsonOf(const std::string& body) {
    // A key that stands twice would be taken once, and not everybody takes the same one.
    std::vector<std::set<std::string>> keys;
    const auto check = [&](int depth, json::parse_event_t event, json& parsed) {
        if (depth > MostNested) throw Refusal(400, "body", "nested too deeply");
        if (event == json::parse_event_t::object_start) keys.emplace_back();
        if (event == json::parse_event_t::object_end) keys.pop_back();
        if (event == json::parse_event_t::key && !keys.back().insert(parsed.get<std::string>()).second)
            RefuseKey(parsed.get<std::string>(), parsed, "the key stands twice");
        return true;
    };
    try {
        json result = json::parse(body, check);
        if (!result.is_object()) throw Refusal(400, Shown(result), "expected a JSON object");
        return result;
    } catch (const json::exception& error) {
        throw Refusal(400, "body", std::string("no JSON: ") + error.what());
    }
}

Call CallOf(const json& value) {
    Call call;
    call.m_operation = OperationOf(value);
    if (!NeedsLife(call.m_operation)) {
        CheckKeys(value, "", {"op"});
        return call;
    }
    const bool writes = call.m_operation == Operation::Write;
    if (writes) {
        CheckKeys(value, "", {"op", "group", "keys", "values"});
    } else {
        CheckKeys(value, "", {"op", "group", "keys"});
    }
    const auto group = value.find("group");
    if (group == value.end()) RefuseKey("group", nullptr, "it is missing");
    call.m_group = NumberOrName(*group, "group", [](const std::string& text) { return GroupNumber(text); });
    call.m_keys = RowOf<CBMIKeys>(value, "keys", call.m_group, true);
    if (writes) call.m_values = RowOf<CBMIParams>(value, "values", call.m_group, false);
    return call;
}

} // namespace bmhost
