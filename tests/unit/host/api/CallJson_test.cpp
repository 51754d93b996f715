// Calls as JSON.
#include "host/api/CallJson.h"

#include "common/veldo_common_protocol.h"
#include "host/http/Reply.h"

#include <gtest/gtest.h>

using namespace BM_ADAPTOR;
using namespace bmhost;
using nlohmann::json;

namespace {

// "400 VALUE | REASON" of the Refusal that the body gets; "no refusal" when it gets none.
std::string RefusalOfBody(const std::string& body) {
    try {
        CallOf(JsonOf(body));
    } catch (const Refusal& refusal) {
        return std::to_string(refusal.m_status) + " " + refusal.m_value + " | " + refusal.what();
    }
    return "no refusal";
}

std::string RefusalOfParam(const std::string& param) {
    return RefusalOfBody(R"({"op":"read","group":"0x300","keys":[)" + param + "]}");
}

} // namespace

TEST(CallJson, AReadHasItsGroupAndKeys) {
    const Call call = CallOf(JsonOf(R"({"op":"read","group":"0x300","keys":[{"id":"0x303","type":1,"value":3}]})"));
    EXPECT_EQ(call.m_operation, Operation::Read);
    EXPECT_EQ(call.m_group, 0x300U);
    ASSERT_EQ(call.m_keys.GetSize(), 1);
    EXPECT_EQ(call.m_keys.Get(0)->GetId(), 0x303U);
    EXPECT_EQ(call.m_keys.Get(0)->GetInt(), 3);
    EXPECT_TRUE(call.m_keys.Get(0)->IsKey());
}

TEST(CallJson, GroupAndIdMayBeNumbersOrNames) {
    for (const char* group : {"768", "\"amc_fru_table\"", "\"768\""}) {
        const Call call =
            CallOf(JsonOf(std::string(R"({"op":"table","group":)") + group + R"(,"keys":[{"id":"bay","value":1}]})"));
        EXPECT_EQ(call.m_group, 0x300U) << group;
        EXPECT_EQ(call.m_keys.Get(0)->GetId(), 0x303U);
    }
    EXPECT_EQ(CallOf(JsonOf(R"({"op":"read","group":4294967295})")).m_group, 0xFFFFFFFFU);
}

TEST(CallJson, AWriteHasValuesOfEachType) {
    const Call call = CallOf(JsonOf(R"({"op":"write","group":256,"keys":null,"values":[
        {"id":1,"type":0,"value":true},{"id":2,"type":2,"value":4294967295},{"id":3,"type":4,"value":"\u00e9x"},
        {"id":4,"value":false},{"id":5,"value":-2147483648},{"id":6,"value":"s"}]})"));
    EXPECT_EQ(call.m_keys.GetSize(), 0);
    ASSERT_EQ(call.m_values.GetSize(), 6);
    EXPECT_TRUE(call.m_values.Get(0)->GetBool());
    EXPECT_EQ(call.m_values.Get(1)->GetType(), BMI_PARAM_UINT);
    EXPECT_EQ(call.m_values.Get(1)->GetInt(), -1);
    EXPECT_EQ(call.m_values.Get(2)->GetString(), "\xE9x");
    EXPECT_EQ(call.m_values.Get(3)->GetType(), BMI_PARAM_BOOL);
    EXPECT_EQ(call.m_values.Get(4)->GetInt(), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(call.m_values.Get(5)->GetType(), BMI_PARAM_STRING);
    EXPECT_FALSE(call.m_values.Get(5)->IsKey());
}

TEST(CallJson, StartAndStopNeedNothingElse) {
    EXPECT_EQ(CallOf(JsonOf(R"({"op":"start"})")).m_operation, Operation::Start);
    EXPECT_EQ(CallOf(JsonOf(R"({"op":"stop"})")).m_operation, Operation::Stop);
    EXPECT_EQ(RefusalOfBody(R"({"op":"stop","group":1})"), "400 group: 1 | no such key here: expected op");
}

TEST(CallJson, TheHostsOwnCallsAreInConflict) {
    EXPECT_EQ(RefusalOfBody(R"({"op":"init"})"), "409 op: \"init\" | the resident host makes this call itself, once");
    EXPECT_EQ(RefusalOfBody(R"({"op":"fin"})"), "409 op: \"fin\" | the resident host makes this call itself, once");
    EXPECT_EQ(RefusalOfBody(R"({"op":"sleep"})"),
              "409 op: \"sleep\" | the client waits by itself; events are at /v1/events");
    EXPECT_EQ(RefusalOfBody(R"({"op":"wait-event"})"),
              "409 op: \"wait-event\" | the client waits by itself; events are at /v1/events");
}

TEST(CallJson, SaysWhichKeyIsWrong) {
    EXPECT_EQ(RefusalOfBody("{}"), "400 op: null | expected read, table, write, start or stop");
    EXPECT_EQ(RefusalOfBody(R"({"op":7})"), "400 op: 7 | expected read, table, write, start or stop");
    EXPECT_EQ(RefusalOfBody(R"({"op":"read"})"), "400 group: null | it is missing");
    EXPECT_EQ(RefusalOfBody(R"({"op":"read","group":-1})"), "400 group: -1 | expected a number from 0 to 0xffffffff");
    EXPECT_EQ(RefusalOfBody(R"({"op":"read","group":1.5})"), "400 group: 1.5 | expected a number or a name");
    EXPECT_EQ(RefusalOfBody(R"({"op":"read","group":4294967296})"),
              "400 group: 4294967296 | expected a number from 0 to 0xffffffff");
    EXPECT_TRUE(RefusalOfBody(R"({"op":"read","group":"bord"})").starts_with("400 group: \"bord\" | unknown group"));
    EXPECT_EQ(RefusalOfBody(R"({"op":"read","group":1,"values":[]})"),
              "400 values: [] | no such key here: expected op, group, keys");
    EXPECT_EQ(RefusalOfBody(R"({"op":"read","group":1,"keys":{}})"),
              "400 keys: {} | expected an array of {\"id\", \"type\", \"value\"}");
    EXPECT_EQ(RefusalOfParam("7"), "400 keys[0]: 7 | expected an object");
    EXPECT_EQ(RefusalOfParam(R"({"id":1})"), "400 keys[0].value: null | it is missing");
    EXPECT_EQ(RefusalOfParam(R"({"value":1})"), "400 keys[0].id: null | it is missing");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"value":1,"key":true})"),
              "400 keys[0].key: true | no such key here: expected id, type, value");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"type":3,"value":1})"),
              "400 keys[0].type: 3 | expected 0 (bool), 1 (int), 2 (unsigned) or 4 (text)");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"type":1.0,"value":1})"),
              "400 keys[0].type: 1.0 | expected 0 (bool), 1 (int), 2 (unsigned) or 4 (text)");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"type":0,"value":1})"), "400 keys[0].value: 1 | expected true or false");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"type":1,"value":"1"})"), "400 keys[0].value: \"1\" | expected a whole number");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"type":1,"value":1.5})"), "400 keys[0].value: 1.5 | expected a whole number");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"value":4294967296})"),
              "400 keys[0].value: 4294967296 | expected a number of 32 bits");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"value":-2147483649})"),
              "400 keys[0].value: -2147483649 | expected a number of 32 bits");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"value":null})"), "400 keys[0].value: null | expected a whole number");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"type":4,"value":1})"), "400 keys[0].value: 1 | expected a text");
    EXPECT_EQ(RefusalOfParam(R"({"id":1,"value":"€"})"),
              "400 keys[0].value: \"€\" | expected characters up to U+00FF: each stands for one byte");
}

TEST(CallJson, WhatIsNoObjectIsRefused) {
    EXPECT_TRUE(RefusalOfBody("").starts_with("400 body | no JSON: "));
    EXPECT_TRUE(RefusalOfBody("{\"op\":").starts_with("400 body | no JSON: "));
    EXPECT_TRUE(RefusalOfBody("{\"op\":\"\xFF\"}").starts_with("400 body | no JSON: "));
    EXPECT_TRUE(RefusalOfBody("{} {}").starts_with("400 body | no JSON: "));
    EXPECT_EQ(RefusalOfBody("[1]"), "400 [1] | expected a JSON object");
    EXPECT_EQ(RefusalOfBody(R"({"op":"read","op":"write"})"), "400 op: \"op\" | the key stands twice");
}

TEST(CallJson, DeeplyNestedJsonIsRefused) {
    const std::string deep(60'000, '[');
    EXPECT_EQ(RefusalOfBody(deep), "400 body | nested too deeply");
    EXPECT_EQ(RefusalOfBody(deep + std::string(60'000, ']')), "400 body | nested too deeply");
}

TEST(CallJson, ATextsCharactersAreBytes) {
    const Call call = CallOf(
        JsonOf("{\"op\":\"read\",\"group\":\"0x300\",\"keys\":[{\"id\":\"0x303\",\"value\":\"a\u0080\u00FF\"}]}"));
    ASSERT_EQ(call.m_keys.GetSize(), 1);
    EXPECT_EQ(call.m_keys.Get(0)->GetString(), "a\x80\xFF");
}
