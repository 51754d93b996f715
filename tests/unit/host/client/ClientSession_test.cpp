// The resident host's adaptor gives what an own one does, to the byte.
#include "host/client/ClientSession.h"

#include "host/client/ScriptedHost.h"
#include "host/output/Output.h"
#include "host/words/Error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace bmhost;
using namespace BM_ADAPTOR;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

CBMIParam TextParam(unsigned id, const std::string& text, bool key = false) {
    CBMIParam param(BMI_PARAM_STRING, id, key);
    param.SetString(text);
    return param;
}

CBMIParam NumberParam(BMIParamType_e type, unsigned id, int32_t value, bool key = false) {
    CBMIParam param(type, id, key);
    param.SetInt(value);
    return param;
}

CBMIParam TruthParam(unsigned id, bool value) {
    CBMIParam param(BMI_PARAM_BOOL, id, false);
    param.SetBool(value);
    return param;
}

std::string EveryByte() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

CBMIParams RowOfEveryKind() {
    CBMIParams row;
    row.Add(NumberParam(BMI_PARAM_INT, 0x303, -3, true));
    row.Add(NumberParam(BMI_PARAM_UINT, 0xffffffffU, std::numeric_limits<int32_t>::min()));
    row.Add(NumberParam(BMI_PARAM_INT, 0x304, std::numeric_limits<int32_t>::max()));
    row.Add(TruthParam(0x305, true));
    row.Add(TruthParam(0x306, false));
    row.Add(TextParam(0x307, EveryByte(), true));
    row.Add(TextParam(0x308, ""));
    row.Add(TextParam(0x309, "\xc3\xa9\xe2\x82\xac")); // what looks like UTF-8 is bytes as well
    return row;
}

/// An adaptor of a command's own.
class OwnSession final : public Session {
public:
    int Lifecycle(Operation operation) override { return operation == Operation::Start ? 0x30011 : Success; }
    std::unique_ptr<CBMITable> Table(unsigned group, int& result) override {
        result = group == 0x400 ? NotFound : Success;
        if (group == 0x400) return nullptr;
        auto table = std::make_unique<CBMITable>();
        CBMIParams row = RowOfEveryKind();
        CBMIParams empty;
        if (group != 0x100) {
            table->AddRow(row);
            table->AddRow(empty);
        }
        return table;
    }
    std::unique_ptr<CBMIParams> Row(unsigned group, const CBMIKeys&, int& result) override {
        result = group == 0x400 ? -5 : Success;
        return group == 0x400 ? nullptr : std::make_unique<CBMIParams>(RowOfEveryKind());
    }
    int WriteRow(unsigned, CBMIKeys&, CBMIParams&) override { return 0xcc; }
    std::optional<AdaptorEvent> TakeEvent(std::chrono::milliseconds) override { return std::nullopt; }
    StorageComplaints Complaints() const override { return {}; }
};

/// What a call on the session shows.
std::string ShownBy(Session& session, Operation operation, unsigned group, bool json) {
    Call call;
    call.m_operation = operation;
    call.m_group = group;
    call.m_keys.Add(NumberParam(BMI_PARAM_INT, group + 3, 1, true));
    const bm_dev::UniqueFd file(memfd_create("output", MFD_CLOEXEC));
    const auto output = json ? MakeJsonOutput(file.Get()) : MakeTextOutput(file.Get());
    MakeCall(session, call, *output);
    std::array<char, 65536> bytes{};
    const ssize_t size = pread(file.Get(), bytes.data(), bytes.size(), 0);
    return {bytes.data(), static_cast<std::size_t>(size)};
}

/// A client whose host gives one answer to everything.
class OneAnswer final : public HostClient {
public:
    explicit OneAnswer(HostAnswer answer) : m_answer(std::move(answer)) {}

    HostAnswer Get(const std::string&) override { return m_answer; }
    HostAnswer Post(const std::string& path, const nlohmann::json& body) override {
        m_asked.push_back(path + " " + body.dump());
        return m_answer;
    }
    HostAnswer PostFile(const std::string&, int, uint64_t, const std::function<void(uint64_t)>&) override {
        return m_answer;
    }
    void Events(uint64_t, const std::function<bool(const ServerEvent&)>&, int) override {}

    HostAnswer m_answer;
    std::vector<std::string> m_asked;
};

TEST(ClientSession, CallsShowToTheByteWhatAnOwnAdaptorsDo) {
    struct SameCase {
        Operation m_operation;
        unsigned m_group;
    };
    const SameCase cases[] = {{Operation::Read, 0x300},  {Operation::Read, 0x400},  {Operation::Table, 0x300},
                              {Operation::Table, 0x400}, {Operation::Table, 0x100}, {Operation::Write, 0x30100},
                              {Operation::Start, 0},     {Operation::Stop, 0}};
    for (const SameCase& same : cases) {
        OwnSession own;
        // The host's body is the line that an own adaptor's call shows.
        const std::string line = ShownBy(own, same.m_operation, same.m_group, true);
        OneAnswer client({200, nlohmann::ordered_json::parse(line)});
        ClientSession session(client);
        EXPECT_EQ(line, ShownBy(session, same.m_operation, same.m_group, true));
        EXPECT_EQ(ShownBy(own, same.m_operation, same.m_group, false),
                  ShownBy(session, same.m_operation, same.m_group, false));
    }
}

TEST(ClientSession, TellsWhyACallFailedByWhatTheHostLogged) {
    const auto told = [](const char* body) {
        OneAnswer client({200, nlohmann::ordered_json::parse(body)});
        ClientSession session(client);
        testing::internal::CaptureStderr();
        const std::string line = ShownBy(session, Operation::Start, 0, true);
        return line + testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ("{\"op\":\"start\",\"result\":0}\n"
              "bmhost: start returned 0 (nothing done)\n"
              "  log:   Fail to initialize DSP\n"
              "  cause: `mavk_init` ended with a code other than 0; the line before shows it\n"
              "  cure:  run by hand what stands after \"MAVK_INIT:\" in the log\n",
              told(R"({"op":"start","result":0,"reasons":["Fail to initialize DSP"]})"));
    EXPECT_EQ("{\"op\":\"start\",\"result\":196626}\n", told(R"({"op":"start","result":196626})"));
    EXPECT_EQ("{\"op\":\"start\",\"result\":1}\n", told(R"({"op":"start","result":1,"reasons":["TRACE"]})"));
}

TEST(ClientSession, AsksWithTheWordsOfTheCall) {
    OneAnswer client({200, {{"op", "write"}, {"group", "0x30e00"}, {"result", 1}}});
    ClientSession session(client);
    CBMIKeys keys;
    keys.Add(NumberParam(BMI_PARAM_INT, 0x30e02, 2, true));
    CBMIParams values;
    values.Add(TextParam(0x30e03, "\xff"));
    values.Add(TruthParam(0x30e04, true));
    EXPECT_EQ(1, session.WriteRow(0x30e00, keys, values));
    EXPECT_THAT(client.m_asked,
                ElementsAre("/v1/calls {\"group\":\"0x30e00\",\"keys\":[{\"id\":\"0x30e02\",\"type\":1,\"value\":2}],"
                            "\"op\":\"write\",\"values\":[{\"id\":\"0x30e03\",\"type\":4,\"value\":\"\xc3\xbf\"},"
                            "{\"id\":\"0x30e04\",\"type\":0,\"value\":true}]}"));
}

TEST(ClientSession, InitAndFinAskNobody) {
    OneAnswer client({500, {}});
    ClientSession session(client);
    EXPECT_EQ(1, session.Lifecycle(Operation::Init));
    EXPECT_EQ(1, session.Lifecycle(Operation::Fin));
    EXPECT_THAT(client.m_asked, ElementsAre());
}

template <typename Error>
std::string ErrorOfRead(unsigned status, const std::string& body) {
    OneAnswer client({status, nlohmann::ordered_json::parse(body)});
    ClientSession session(client);
    int result = 0;
    try {
        session.Row(0x300, {}, result);
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

TEST(ClientSession, ARefusalIsToldByItsKind) {
    EXPECT_EQ("0x300: no such key",
              ErrorOfRead<UsageError>(400, R"({"error":{"operation":"read","value":"0x300","reason":"no such key"}})"));
    EXPECT_EQ("the resident host: too slow", ErrorOfRead<TimeUpError>(408, R"({"error":{"reason":"too slow"}})"));
    EXPECT_EQ("the resident host refused `read 0x300`: busy",
              ErrorOfRead<std::runtime_error>(409, R"({"error":{"reason":"busy"}})"));
    EXPECT_EQ("the resident host refused `read 0x300`: status 500", ErrorOfRead<std::runtime_error>(500, "[7]"));
}

TEST(ClientSession, WhatIsNoAnswerToTheCallIsRefused) {
    const char* const bodies[] = {
        "null",
        "[]",
        "{}",
        R"({"op":"read","group":"0x300","result":1})",
        R"({"op":"read","group":"0x400","result":1,"row":null})",
        R"({"op":"table","group":"0x300","result":1,"row":null})",
        R"({"op":"read","group":"0x300","result":"1","row":null})",
        R"({"op":"read","group":"0x300","result":4294967296,"row":null})",
        R"({"op":"read","group":"0x300","result":1,"row":{}})",
        R"({"op":"read","group":"0x300","result":1,"row":[7]})",
        R"({"op":"read","group":"0x300","result":1,"row":[{"id":"x","type":1,"key":true,"value":1}]})",
        R"({"op":"read","group":"0x300","result":1,"row":[{"id":"0x303","type":3,"key":true,"value":1}]})",
        R"({"op":"read","group":"0x300","result":1,"row":[{"id":"0x303","type":1,"key":true,"value":"1"}]})",
        R"({"op":"read","group":"0x300","result":1,"row":[{"id":"0x303","type":1,"key":1,"value":1}]})",
        R"({"op":"read","group":"0x300","result":1,"row":[{"id":"0x303","type":1,"value":1}]})",
        R"({"op":"read","group":"0x300","result":1,"row":[{"id":"0x303","type":4,"key":true,"value":"\u0100"}]})",
        R"({"op":"read","group":"0x300","result":1,"row":[{"id":"0x303","type":0,"key":true,"value":0}]})",
    };
    for (const char* const body : bodies)
        EXPECT_THAT(ErrorOfRead<std::runtime_error>(200, body), HasSubstr("sent what is no answer to `read 0x300`: "))
            << body;
}

TEST(ClientSession, TakesTheAdaptorsEventsSinceItBegan) {
    const std::string early =
        R"({"op":"event","event":"0x1","number":1,"params":[],"time":"2000-01-01T00:00:00.000Z"})";
    const std::string late =
        R"({"op":"event","event":"0x30200","number":2,"params":[{"id":"0x30201","type":1,"key":true,"value":3}],)"
        R"("time":"2999-01-01T00:00:00.000Z","name":"run status"})";
    const ScriptedHost host({Always(""), [&](Peer& peer) {
                                 peer.Request();
                                 peer.Send("HTTP/1.1 200 OK\r\n\r\nid: 1\nevent: event\ndata: " + early +
                                           "\n\nid: 2\nevent: picture\ndata: {}\n\nid: 3\nevent: event\ndata: " + late +
                                           "\n\n");
                                 peer.AwaitEnd();
                             }});
    const auto client = HostClient::Connect(60s);
    ClientSession session(*client);
    const auto event = session.TakeEvent(60s);
    ASSERT_TRUE(event);
    EXPECT_EQ(0x30200U, event->m_event);
    EXPECT_EQ(2U, event->m_number);
    ASSERT_EQ(1, event->m_params.GetSize());
    EXPECT_EQ(3, event->m_params.Get(0)->GetInt());
    EXPECT_TRUE(event->m_params.Get(0)->IsKey());
    EXPECT_FALSE(session.TakeEvent(1ms));
}

} // namespace
