// bmhost beside a resident host, and how long it waits.
#include "host/HostProcess.h"
#include "host/TestFolder.h"
#include "host/client/ScriptedHost.h"
#include "host/picture/PictureJson.h"

#include "common/veldo_common_protocol.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// A resident host that has these answers, by "POST /v1/calls" and the like, and keeps what it was asked.
class AnsweringHost {
public:
    using Answers = std::vector<std::pair<std::string, std::string>>;

    explicit AnsweringHost(Answers answers) : m_answers(std::move(answers)) {
        std::ofstream(m_host.Place().Lock())
            << R"({"process":)" << getpid() << R"(,"started":"2026-11-22T09:30:00.125Z","program":"bmhostd"})";
    }

    /// Method, path and body of each.
    std::vector<std::string> Asked() {
        const std::lock_guard lock(m_guard);
        return m_asked;
    }

private:
    void Serve(Peer& peer) {
        for (std::string request; !(request = peer.Request()).empty();) {
            const std::string what = request.substr(0, request.find(" HTTP/1.1"));
            {
                const std::lock_guard lock(m_guard);
                m_asked.push_back(what + request.substr(request.find("\r\n\r\n") + 4));
            }
            const auto found = std::find_if(m_answers.begin(), m_answers.end(),
                                            [&](const auto& answer) { return answer.first == what; });
            peer.Send(found != m_answers.end() ? found->second : JsonAnswer(404, R"({"error":{"reason":"unknown"}})"));
        }
    }

    std::mutex m_guard;
    std::vector<std::string> m_asked;
    Answers m_answers;
    ScriptedHost m_host{{[this](Peer& peer) { Serve(peer); }}};
};

const std::string TableLine =
    R"({"op":"table","group":"0x13","result":1,"rows":[[{"id":"0x14","type":4,"key":false,"value":"\u0085a"}]]})";
const std::string Refused = "bmhost: another host has the blade: bmhostd, process " + std::to_string(getpid()) +
                            ", since 2026-11-22T09:30:00.125Z; --direct gives ";

TEST(BmhostClient, ACallAsksTheHostAndShowsItsLine) {
    AnsweringHost host({{"POST /v1/calls", JsonAnswer(200, TableLine)}});
    const Ended json = RunHost({"table", "0x13", "--json"});
    EXPECT_EQ(0, json.m_status);
    EXPECT_EQ(TableLine + "\n", json.m_out);
    EXPECT_EQ("", json.m_err);
    const Ended text = RunHost({"table", "0x13"});
    EXPECT_EQ("table 0x13: 1 (success)\n  0x14\n  ?a\n", text.m_out);
    EXPECT_THAT(host.Asked(), ElementsAre(R"(POST /v1/calls{"group":"0x13","op":"table"})",
                                          R"(POST /v1/calls{"group":"0x13","op":"table"})"));
}

TEST(BmhostClient, StartAndStopGoToTheHostAsTheyAre) {
    AnsweringHost host({{"POST /v1/calls", JsonAnswer(200, R"({"op":"start","result":196626})")}});
    const Ended ended = RunHost({"start"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("start: 0x30012 (switch not taught, or DSPs not loaded or not passed)\n", ended.m_out);
    EXPECT_THAT(host.Asked(), ElementsAre(R"(POST /v1/calls{"op":"start"})"));
}

TEST(BmhostClient, AStartThatDidNothingAndLoggedNothingHasACauseAndACure) {
    AnsweringHost host({{"POST /v1/calls", JsonAnswer(200, R"({"op":"start","result":0})")}});
    const Ended ended = RunHost({"start"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("start: 0 (nothing done)\n", ended.m_out);
    EXPECT_EQ("bmhost: start returned 0 (nothing done)\n"
              "  cause: no DSP is known, so there was nothing to start\n"
              "  cure:  see what `Init` returned: `bmhost why`; then restart the "
              "host\n",
              ended.m_err);
}

TEST(BmhostClient, WhatNeedsAnAdaptorOfItsOwnIsRefusedUnlessItIsDirect) {
    AnsweringHost host({});
    const std::vector<std::vector<std::string>> refused = {{"init"}, {"fin"}, {"script", "-"}};
    for (const auto& words : refused) {
        const Ended ended = RunHost(words, "init\n");
        EXPECT_EQ(6, ended.m_status);
        EXPECT_EQ("", ended.m_out);
        EXPECT_EQ(Refused + words[0] + " an adaptor of its own\n", ended.m_err);
    }
    EXPECT_THAT(host.Asked(), ElementsAre());
    EXPECT_EQ("init: 1 (success)\n", RunStub("good", {"--direct", "script", "-"}, "init\n").m_out);
    EXPECT_EQ("Init Read Fin Destroy", RunStub("good", {"read", "0x10", "--direct"}).StubCalls());
}

TEST(BmhostClient, OptionsOfAnOwnAdaptorAreRefused) {
    AnsweringHost host({{"POST /v1/calls", JsonAnswer(200, TableLine)}});
    const TestFolder folder;
    const std::string log = folder.Path() + "/log";
    const std::vector<std::vector<std::string>> options = {
        {"--adaptor", "a.so"}, {"--mode", "2"}, {"--storage", "/tmp"}, {"--log", log}, {"--log-level", "3"}};
    for (std::vector<std::string> words : options) {
        const std::string name = words[0];
        words.insert(words.end(), {"table", "0x13"});
        const Ended ended = RunHost(words);
        EXPECT_EQ(2, ended.m_status);
        EXPECT_EQ("bmhost: " + name + ": the resident host (process " + std::to_string(getpid()) +
                      ") has the adaptor; --direct loads one for this command\n",
                  ended.m_err);
    }
    EXPECT_FALSE(std::filesystem::exists(log));
    EXPECT_THAT(host.Asked(), ElementsAre());
    EXPECT_EQ(0, RunHost({"table", "0x13", "--notice-after", "1", "--timeout", "20.5", "-q"}).m_status);
}

TEST(BmhostClient, WhatNeedsNoAdaptorAsksNobody) {
    AnsweringHost host({});
    EXPECT_EQ(0, RunHost({"groups"}).m_status);
    EXPECT_EQ(0, RunHost({"help"}).m_status);
    EXPECT_EQ(0, RunHost({"--version"}).m_status);
    EXPECT_THAT(host.Asked(), ElementsAre());
}

TEST(BmhostClient, AShellAsksTheHostAndLeavesItRunning) {
    AnsweringHost host({{"POST /v1/calls", JsonAnswer(200, R"({"op":"start","result":1})")}});
    const Ended ended = RunHost({"shell"}, "start\ninit\ngroups\nquit\n");
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.m_out, StartsWith("start: 1 (success)\n"));
    EXPECT_EQ(Refused + "init an adaptor of its own\n", ended.m_err);
    EXPECT_THAT(host.Asked(), ElementsAre(R"(POST /v1/calls{"op":"start"})"));
}

TEST(BmhostClient, ARefusalOfTheHostHasItsStatus) {
    const std::string error = R"({"error":{"operation":"table","value":"0x13","reason":"no"}})";
    {
        AnsweringHost host({{"POST /v1/calls", JsonAnswer(400, error)}});
        const Ended ended = RunHost({"table", "0x13"});
        EXPECT_EQ(2, ended.m_status);
        EXPECT_EQ("bmhost: 0x13: no\n", ended.m_err);
    }
    AnsweringHost host({{"POST /v1/calls", JsonAnswer(409, error)}});
    const Ended ended = RunHost({"table", "0x13"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("bmhost: the resident host refused `table 0x13`: 0x13: no\n", ended.m_err);
}

TEST(BmhostClient, TimeThatIsUpIsAStatusOfItsOwn) {
    const ScriptedHost host({[](Peer& peer) { peer.AwaitEnd(); }, Always(JsonAnswer(200, "[]"))});
    const Ended ended = RunHost({"--timeout", "0.05", "table", "0x13"});
    EXPECT_EQ(5, ended.m_status);
    EXPECT_EQ("bmhost: `bmhost table`: no answer of the resident host (process " + std::to_string(getpid()) +
                  ") within 0.05 s; it names no call that it waits for\n",
              ended.m_err);
}

TEST(BmhostClient, AnUpgradeSendsTheImageAndFollowsTheHost) {
    const std::string file = "/tmp/bmhost-client-image-" + std::to_string(getpid());
    std::ofstream(file) << "an image";
    const std::string begun =
        R"({"order":"firmware-update","result":1,"good":true,"changed":true,"text":"","remarks":[],)"
        R"("reasons":[],"cure":"","sha256":"abc"})";
    bmhost::Picture picture;
    bmhost::UpgradeFacts upgrade;
    upgrade.m_state = BM_ADAPTOR::UPGRADE_FAILED;
    upgrade.m_ended = upgrade.m_begun + std::chrono::seconds(7);
    picture.m_upgrades.push_back(upgrade);
    const std::string path = "POST /v1/firmware?target=amc&bay=3&name=bmhost-client-image-" + std::to_string(getpid());
    const std::string line = "UPGRADETHEAD :: run - update returned 768 WEXITSTATUS=3 WIFEXITED=1";
    const std::string log =
        R"({"lines":[{"time":"1970-01-01T00:00:07.000Z","level":3,"component":"c","text":")" + line + R"("}]})";
    AnsweringHost host({{path, JsonAnswer(202, begun)},
                        {"GET /v1/blade", JsonAnswer(200, PictureJson(picture).dump())},
                        {"GET /v1/log?lines=1000", JsonAnswer(200, log)}});
    const Ended ended = RunHost({"--json", "firmware", "update", "--target", "amc", "--bay", "3", "--yes", file});
    std::filesystem::remove(file);
    EXPECT_EQ(1, ended.m_status) << ended.m_err;
    EXPECT_THAT(ended.m_out, AllOf(StartsWith(R"({"op":"firmware update","result":1,"good":false,"changed":true,)"),
                                   HasSubstr(R"("sha256":"abc")"), HasSubstr(R"("ended":"1970-01-01T00:00:07.000Z")")));
    EXPECT_THAT(host.Asked(), ElementsAre(path + "an image", "GET /v1/blade", "GET /v1/log?lines=1000"));
    EXPECT_THAT(ended.m_out,
                AllOf(HasSubstr("\"reasons\":[\"" + line + "\"]"), HasSubstr("\"cure\":\"read what the tool")));
}

TEST(BmhostTimeout, AnAdaptorThatDoesNotReturnIsToldOfWithTheTimeSinceWhen) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"table", "0x10"}, {"inventory"}, {"--json", "init"}}) {
        std::vector<std::string> all = {"--timeout", "0.05"};
        all.insert(all.end(), words.begin(), words.end());
        const Ended ended = RunStub("init_hangs", all);
        EXPECT_EQ(5, ended.m_status);
        EXPECT_THAT(ended.m_err, testing::ContainsRegex(
                                     "bmhost: the time is up \\(0.05 s\\): waiting for the adaptor's `init` since "
                                     "20[0-9-]*T[0-9:.]*Z\n$"));
    }
}

TEST(BmhostTimeout, IsNoneOfACommandThatEndsInTime) {
    const Ended ended = RunStub("good", {"--timeout", "60", "--json", "init"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n", ended.m_out);
}

TEST(BmhostQuiet, TellsOfNoCallThatTakesLong) {
    const Ended ended = RunStub("init_hangs", {"--timeout", "0.2", "--notice-after", "1", "-q", "init"});
    EXPECT_EQ(5, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre(StartsWith("bmhost: the time is up (0.2 s)")));
    const Ended told = RunStub("init_hangs", {"--timeout", "0.2", "--notice-after", "1", "init"});
    EXPECT_THAT(told.ErrorLines(), AllOf(testing::Contains(HasSubstr("still waiting for the adaptor")),
                                         testing::Contains(HasSubstr("the time is up"))));
}

} // namespace
