// Calls, orders and firmware at the socket.
#include "ServedHost.h"

#include "host/TestFolder.h"
#include "host/http/Reply.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace bmhost;
using nlohmann::json;

namespace {

/// A host that takes images, into its folder.
class ImageHost {
public:
    explicit ImageHost(ApiLimits limits = {}) {
        limits.m_imageFolder = m_folder;
        m_served = std::make_unique<ServedHost>(limits, FilesIn(m_folder));
    }
    ImageHost(const ImageHost&) = delete;
    ImageHost& operator=(const ImageHost&) = delete;

    ServedHost& Served() { return *m_served; }
    FakeHost& Host() { return m_served->Host(); }
    HttpAnswer Upload(const std::string& query, const std::string& image) const {
        return m_served->Connect().Post("/v1/firmware" + query, image, "application/octet-stream");
    }
    std::size_t Files() const {
        const std::filesystem::directory_iterator files(m_folder);
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }
    /// Waits until there are that many files.
    bool ComesToFiles(std::size_t count) const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::chrono::steady_clock::now() < end) {
            if (Files() == count) return true;
            std::this_thread::yield();
        }
        return false;
    }

private:
    const TestFolder m_own;
    const std::string m_folder = m_own.Path();
    std::unique_ptr<ServedHost> m_served;
};

std::string ReadWhole(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

TEST(Asks, ACallIsAnsweredWithItsLine) {
    ServedHost served;
    const HttpAnswer answer = served.Connect().Post("/v1/calls", R"({"op":"read","group":"0x30200","keys":null})");
    EXPECT_EQ(answer.m_status, 200);
    EXPECT_EQ(answer.m_body, "{\"op\":\"read\",\"result\":1}\n");
    ASSERT_EQ(served.Host().Calls().size(), 1U);
    EXPECT_EQ(served.Host().Calls()[0].m_group, 0x30200U);
}

TEST(Asks, TheHostLearnsWhoAsks) {
    ServedHost served;
    served.Connect().Post("/v1/orders/start", "");
    ASSERT_EQ(served.Host().Askers().size(), 1U);
    EXPECT_EQ(served.Host().Askers()[0].m_process, getpid());
    EXPECT_EQ(served.Host().Askers()[0].m_user, getuid());
    EXPECT_EQ(served.Host().Askers()[0].m_group, getgid());
}

HttpAnswer PostFor(const ServedHost& served, const std::string& path, const std::string& account) {
    const Client client = served.Connect();
    client.Send("POST " + path + " HTTP/1.1\r\nHost: h\r\nContent-Length: 0\r\nBmhost-Account: " + account +
                "\r\n\r\n");
    return client.Read();
}

TEST(Asks, TheHostLearnsForWhomADoorAsks) {
    ServedHost served;
    PostFor(served, "/v1/orders/start", "anna (192.0.2.7)");
    ASSERT_EQ(served.Host().Askers().size(), 1U);
    EXPECT_EQ(served.Host().Askers()[0].m_account, "anna (192.0.2.7)");
}

TEST(Asks, AnAccountThatCannotStandInTheLogIsRefused) {
    ServedHost served;
    EXPECT_EQ(PostFor(served, "/v1/orders/start", std::string(201, 'a')).m_status, 400);
    EXPECT_EQ(PostFor(served, "/v1/orders/start", "ann\xE4").m_status, 400);
    EXPECT_EQ(PostFor(served, "/v1/orders/start", "an\tna").m_status, 400);
    EXPECT_EQ(served.Host().Askers().size(), 0U);
    EXPECT_EQ(PostFor(served, "/v1/orders/start", std::string(200, 'a')).m_status, 200);
}

TEST(Asks, ACallThatIsWrongNeverReachesTheHost) {
    ServedHost served;
    const Client client = served.Connect();
    EXPECT_EQ(client.Post("/v1/calls", R"({"op":"read"})").m_status, 400);
    EXPECT_EQ(client.Post("/v1/calls", R"({"op":"init"})").m_status, 409);
    EXPECT_EQ(client.Post("/v1/calls", "").m_status, 400);
    EXPECT_EQ(client.Post("/v1/calls", "{", "application/json; charset=utf-8").m_status, 400);
    const HttpAnswer form = client.Post("/v1/calls", "op=read", "application/x-www-form-urlencoded");
    EXPECT_EQ(form.m_status, 415);
    EXPECT_EQ(form.Reason(), "expected the content type application/json");
    EXPECT_TRUE(served.Host().Calls().empty());
}

TEST(Asks, AnOrderHasItsNameFromThePathAndItsValuesFromTheBody) {
    ServedHost served;
    const Client client = served.Connect();
    for (const char* name : {"led-set", "dsp-set-ip", "switch-set", "board-reset", "start", "stop"})
        EXPECT_EQ(client.Post(std::string("/v1/orders/") + name, R"({"bay":3})").m_status, 200) << name;
    EXPECT_EQ(client.Post("/v1/orders/led-set", R"({"order":"led-set","led":1})").m_status, 200);
    const auto orders = served.Host().Orders();
    ASSERT_EQ(orders.size(), 7U);
    EXPECT_EQ(orders[0].m_name, "led-set");
    EXPECT_EQ(orders[0].m_values, json({{"bay", 3}}));
    EXPECT_EQ(orders[6].m_values, json({{"led", 1}}));
}

TEST(Asks, AnOrderThatThereIsNotIsNotGiven) {
    ServedHost served;
    const Client client = served.Connect();
    EXPECT_EQ(client.Post("/v1/orders/firmware-update", "{}").m_status, 404);
    EXPECT_EQ(client.Post("/v1/orders/self-destruct", "{}").Json().at("error").at("value"), "self-destruct");
    EXPECT_EQ(client.Post("/v1/orders/start", R"({"order":"stop"})").Reason(), "the path names the order start");
    EXPECT_EQ(client.Post("/v1/orders/start", "[]").m_status, 400);
    EXPECT_TRUE(served.Host().Orders().empty());
}

TEST(Asks, TheHostsStatusIsPassedOn) {
    ServedHost served;
    served.Host().AnswerWith([](const std::string&, const json&) {
        return Answer{409, {{"error", {{"operation", "led-set"}, {"value", "bay 3"}, {"reason", "it is empty"}}}}};
    });
    const HttpAnswer answer = served.Connect().Post("/v1/orders/led-set", "{}");
    EXPECT_EQ(answer.m_status, 409);
    EXPECT_EQ(answer.Reason(), "it is empty");
}

TEST(Asks, AHostThatThrowsOrDropsIsTold) {
    ServedHost served;
    served.Host().Be(FakeHost::Manner::Throw);
    const HttpAnswer thrown = served.Connect().Post("/v1/orders/stop", "{}");
    EXPECT_EQ(thrown.m_status, 500);
    EXPECT_EQ(thrown.Reason(), "no host today");
    served.Host().Be(FakeHost::Manner::Drop);
    const HttpAnswer dropped = served.Connect().Post("/v1/orders/stop", "{}");
    EXPECT_EQ(dropped.m_status, 503);
    EXPECT_EQ(dropped.Reason(), "the host has dropped this without an answer");
}

TEST(Asks, AnImageIsKeptAndItsOrderGiven) {
    ImageHost images;
    std::string image(300'000, '\0');
    for (std::size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<char>(i * 7);
    const HttpAnswer answer = images.Upload("?target=amc&bay=3&name=a%20b.bin", image);
    EXPECT_EQ(answer.m_status, 202);
    const auto orders = images.Host().Orders();
    ASSERT_EQ(orders.size(), 1U);
    EXPECT_EQ(orders[0].m_name, "firmware-update");
    const json& values = orders[0].m_values;
    EXPECT_EQ(values.at("target"), "amc");
    EXPECT_EQ(values.at("bay"), 3);
    EXPECT_EQ(values.at("name"), "a b.bin");
    EXPECT_EQ(values.at("sha256"), "300000");
    EXPECT_FALSE(values.contains("dry_run"));
    EXPECT_TRUE(ReadWhole(values.at("path")) == image);
}

TEST(Asks, ADryRunIsAnsweredAsDone) {
    ImageHost images;
    EXPECT_EQ(images.Upload("?target=board&name=x&dry_run", "image").m_status, 200);
    EXPECT_EQ(images.Upload("?target=rtm&name=x&dry_run=false", "image").m_status, 202);
    EXPECT_TRUE(images.Host().Orders().at(0).m_values.at("dry_run"));
    EXPECT_FALSE(images.Host().Orders().at(0).m_values.contains("bay"));
    EXPECT_FALSE(images.Host().Orders().at(1).m_values.at("dry_run"));
    EXPECT_TRUE(images.ComesToFiles(1)) << "nobody needs the image of a dry run any more";
}

TEST(Asks, SimulatedDataAreAskedForInTheQuery) {
    ImageHost images;
    EXPECT_EQ(images.Upload("?target=rtm&name=x&simulated", "image").m_status, 202);
    EXPECT_TRUE(images.Host().Orders().at(0).m_values.at("simulated"));
}

TEST(Asks, AnImageThatTheAdaptorDidNotTakeGoes) {
    ImageHost images;
    images.Host().AnswerWith([](const std::string&, const json&) {
        return Answer{200, {{"result", 0}, {"good", false}}};
    });
    EXPECT_EQ(images.Upload("?target=board&name=x", "image").m_status, 202);
    EXPECT_TRUE(images.ComesToFiles(0));
}

TEST(Asks, AnImageWhoseOrderIsRefusedGoes) {
    ImageHost images;
    images.Host().AnswerWith([](const std::string&, const json&) { return Answer{409, {{"error", {}}}}; });
    EXPECT_EQ(images.Upload("?target=board&name=x", "image").m_status, 409);
    EXPECT_TRUE(images.ComesToFiles(0));
    images.Host().Be(FakeHost::Manner::Throw);
    EXPECT_EQ(images.Upload("?target=board&name=x", "image").m_status, 500);
    EXPECT_TRUE(images.ComesToFiles(0));
    images.Host().Be(FakeHost::Manner::Drop);
    EXPECT_EQ(images.Upload("?target=board&name=x", "image").m_status, 503);
    EXPECT_TRUE(images.ComesToFiles(0));
}

TEST(Asks, AnImageThatCannotBeMeantIsRefusedBeforeItComes) {
    ImageHost images;
    for (const char* query :
         {"", "?target=amc&name=x", "?target=amc&bay=9&name=x", "?target=amc&bay=x&name=x",
          "?target=board&bay=1&name=x", "?target=fan&name=x", "?target=board",
          "?target=board&name=", "?target=board&name=a/b", "?target=board&name=a%0Ab",
          "?target=board&name=x&dry_run=maybe", "?target=board&name=x&simulated=1", "?target=board&name=x&force"}) {
        EXPECT_EQ(images.Upload(query, "image").m_status, 400) << query;
    }
    EXPECT_EQ(images.Upload("?target=board&name=x", "").m_status, 400);
    EXPECT_EQ(images.Served().Connect().Post("/v1/firmware?target=board&name=x", "image").m_status, 415);
    EXPECT_TRUE(images.Host().Orders().empty());
    EXPECT_EQ(images.Files(), 0U);
}

TEST(Asks, AnImageNeedsItsSize) {
    ImageHost images;
    const Client client = images.Served().Connect();
    client.Send(
        "POST /v1/firmware?target=board&name=x HTTP/1.1\r\nHost: h\r\nContent-Type: application/octet-stream\r\n"
        "Transfer-Encoding: chunked\r\n\r\n");
    EXPECT_EQ(client.Read().m_status, 411);
    EXPECT_EQ(client.ReadToEnd(), "");
}

TEST(Asks, AnImageBeyondTheLimitIsToldBothNumbers) {
    ApiLimits limits;
    limits.m_imageSize = 100;
    ImageHost images(limits);
    const HttpAnswer answer = images.Upload("?target=board&name=x", std::string(101, 'x'));
    EXPECT_EQ(answer.m_status, 413);
    EXPECT_EQ(answer.Json().at("error").at("value"), "101 bytes");
    EXPECT_EQ(answer.Reason(), "an image may have 100 bytes");
    EXPECT_EQ(images.Upload("?target=board&name=x", std::string(100, 'x')).m_status, 202);
}

TEST(Asks, AnImageThatDoesNotFitIsToldBothNumbers) {
    ApiLimits limits;
    limits.m_imageSize = ~0ULL;
    ImageHost images(limits);
    const Client client = images.Served().Connect();
    client.Send(
        "POST /v1/firmware?target=board&name=x HTTP/1.1\r\nHost: h\r\nContent-Type: application/octet-stream\r\n"
        "Content-Length: 9000000000000000000\r\n\r\n");
    const HttpAnswer answer = client.Read();
    EXPECT_EQ(answer.m_status, 507);
    EXPECT_EQ(answer.Json().at("error").at("value"), "9000000000000000000 bytes");
    EXPECT_NE(answer.Reason().find(" has room for "), std::string::npos);
    EXPECT_EQ(images.Files(), 0U);
}

TEST(Asks, AClientThatDiesInTheMiddleLeavesNoFile) {
    ImageHost images;
    Client client = images.Served().Connect();
    client.Send(
        "POST /v1/firmware?target=board&name=x HTTP/1.1\r\nHost: h\r\nContent-Type: application/octet-stream\r\n"
        "Content-Length: 1000\r\n\r\n" +
        std::string(500, 'x'));
    ASSERT_TRUE(images.ComesToFiles(1));
    client.Close();
    EXPECT_TRUE(images.ComesToFiles(0));
    EXPECT_TRUE(images.Host().Orders().empty());
}

TEST(Asks, AnImageThatStopsComingIsGivenUp) {
    ApiLimits limits;
    limits.m_idleTime = std::chrono::milliseconds(100);
    ImageHost images(limits);
    const Client client = images.Served().Connect();
    client.Send(
        "POST /v1/firmware?target=board&name=x HTTP/1.1\r\nHost: h\r\nContent-Type: application/octet-stream\r\n"
        "Content-Length: 1000\r\n\r\nx");
    EXPECT_EQ(client.ReadToEnd(), "");
    EXPECT_TRUE(images.ComesToFiles(0));
}

TEST(Asks, AnImageThatTricklesInIsGivenUp) {
    ApiLimits limits;
    limits.m_imageTime = std::chrono::milliseconds(100);
    ImageHost images(limits);
    const Client client = images.Served().Connect();
    client.Send(
        "POST /v1/firmware?target=board&name=x HTTP/1.1\r\nHost: h\r\nContent-Type: application/octet-stream\r\n"
        "Content-Length: 100000000\r\n\r\n");
    int pieces = 0;
    while (pieces < 90'000'000 && client.Send("x")) {
        ++pieces;
        std::this_thread::yield();
    }
    EXPECT_LT(pieces, 90'000'000);
    EXPECT_TRUE(images.ComesToFiles(0));
}

TEST(Asks, AHostWithoutAFolderTakesNoImages) {
    ServedHost served;
    const HttpAnswer answer =
        served.Connect().Post("/v1/firmware?target=board&name=x", "image", "application/octet-stream");
    EXPECT_EQ(answer.m_status, 503);
    EXPECT_EQ(answer.Reason(), "this host takes no images");
}

TEST(Asks, AFolderThatIsMissingIsTheSinksBusiness) {
    ApiLimits limits;
    limits.m_imageFolder = "/nowhere/at/all";
    ServedHost served(limits, [](uint64_t size) -> std::unique_ptr<UploadSink> {
        if (size == 1) throw Refusal(409, "another", "another upgrade is under way");
        throw std::runtime_error("/nowhere/at/all: Permission denied");
    });
    const Client client = served.Connect();
    const HttpAnswer other = client.Post("/v1/firmware?target=board&name=x", "i", "application/octet-stream");
    EXPECT_EQ(other.m_status, 409);
    EXPECT_EQ(other.Reason(), "another upgrade is under way");
    const HttpAnswer failed = client.Post("/v1/firmware?target=board&name=x", "image", "application/octet-stream");
    EXPECT_EQ(failed.m_status, 500);
    EXPECT_EQ(failed.Reason(), "/nowhere/at/all: Permission denied");
}

TEST(Asks, ABrokenDiskIsTold) {
    class FullSink : public UploadSink {
    public:
        void Write(const void*, std::size_t) override { throw std::runtime_error("No space left on device"); }
        void Finish() override {}
        std::string Path() const override { return {}; }
        std::string Sha256() const override { return {}; }
    };
    ApiLimits limits;
    limits.m_imageFolder = "/tmp";
    ServedHost served(limits, [](uint64_t) { return std::make_unique<FullSink>(); });
    const HttpAnswer answer = served.Connect().Post("/v1/firmware?target=board&name=x", std::string(200'000, 'x'),
                                                    "application/octet-stream");
    EXPECT_EQ(answer.m_status, 507);
    EXPECT_EQ(answer.Reason(), "No space left on device");
    EXPECT_TRUE(served.Host().Orders().empty());
}
