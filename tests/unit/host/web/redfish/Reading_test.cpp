// What GET and HEAD are answered.
#include "host/web/redfish/Reading.h"

#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::ElementsAre;

const std::string Amc3 = "/redfish/v1/Chassis/AMC3";

TEST(RedfishRead, HasTheHeadersOfTheProtocol) {
    const RedfishAnswer answer = ShownBlade(SmallBlade()).Get(Amc3);
    EXPECT_EQ(200U, answer.m_status);
    EXPECT_EQ("application/json; charset=utf-8", answer.m_contentType);
    EXPECT_EQ("4.0", answer.Header("OData-Version"));
    EXPECT_EQ("no-store", answer.Header("Cache-Control"));
    EXPECT_EQ("GET, HEAD", answer.Header("Allow"));
    EXPECT_EQ("<https://redfish.dmtf.org/schemas/v1/Chassis.v1_28_0.json>; rel=describedby", answer.Header("Link"));
    EXPECT_THAT(std::string(answer.Header("ETag")), testing::MatchesRegex("\"[0-9a-f]{16}\""));
}

TEST(RedfishRead, SaysWhatIsMissing) {
    const RedfishAnswer answer = ShownBlade(SmallBlade()).Get("/redfish/v1/Chassis/AMC1");
    EXPECT_EQ(404U, answer.m_status);
    EXPECT_THAT(MessagesOf(answer), ElementsAre("ResourceMissingAtURI(/redfish/v1/Chassis/AMC1)"));
    EXPECT_EQ("", answer.Header("Allow"));
}

TEST(RedfishRead, IsNotAllowedOfWhatCanOnlyBePostedTo) {
    const ShownBlade blade(SmallBlade());
    for (const char* const path :
         {"/redfish/v1/Chassis/Blade/Actions/Chassis.Reset", "/redfish/v1/UpdateService/upload",
          "/redfish/v1/Chassis/AMC3/Actions/Oem/Bmhost.SetLed", "/redfish/v1/SessionService/Sessions/Members"}) {
        EXPECT_EQ(405U, blade.Get(path).m_status) << path;
        EXPECT_EQ("POST", blade.Get(path).Header("Allow")) << path;
    }
    EXPECT_EQ(404U, blade.Get("/redfish/v1/Chassis/AMC3/Actions/Chassis.Reset").m_status) << "not offered";
    EXPECT_EQ(404U, blade.Get("/redfish/v1/Chassis/AMC6/Actions/Oem/Bmhost.SetLed").m_status) << "not offered";
}

TEST(RedfishRead, WaitsForTheHost) {
    ShownBlade blade(Picture{});
    for (const char* const path :
         {"/redfish/v1/Chassis", "/redfish/v1/Chassis/Blade", "/redfish/v1/Systems/Media", "/redfish/v1/Fabrics",
          "/redfish/v1/Managers", "/redfish/v1/UpdateService", "/redfish/v1/TaskService/Tasks"}) {
        EXPECT_EQ(503U, blade.Get(path).m_status) << path << ": init has not returned";
        EXPECT_EQ("5", blade.Get(path).Header("Retry-After")) << path;
    }
    EXPECT_EQ(200U, blade.Get("/redfish/v1/AccountService").m_status);
    blade.m_view.m_picture = nullptr;
    EXPECT_EQ(503U, blade.Get("/redfish/v1/Chassis").m_status);
}

TEST(RedfishRead, RefusesQueriesAndIgnoresOtherParameters) {
    const ShownBlade blade(SmallBlade());
    const auto read = [&](const std::string& name) { return Read(blade.m_facts, {"GET", Amc3, {{name, "1"}}}); };
    for (const char* const name : {"$select", "$expand", "$filter", "$top", "$skip", "$unknown"}) {
        EXPECT_EQ(501U, read(name).m_status) << name;
        EXPECT_THAT(MessagesOf(read(name)), ElementsAre("QueryNotSupported"));
    }
    for (const char* const name : {"only", "excerpt", "x", ""})
        EXPECT_EQ(200U, read(name).m_status) << name;
}

TEST(RedfishRead, RefusesAnotherVersionOfOdata) {
    const ShownBlade blade(SmallBlade());
    const auto read = [&](const std::string& version) {
        RedfishRequest request{"GET", Amc3};
        request.m_odataVersion = version;
        return Read(blade.m_facts, request);
    };
    EXPECT_EQ(200U, read("").m_status);
    EXPECT_EQ(200U, read("4.0").m_status);
    EXPECT_EQ(412U, read("4.01").m_status);
    EXPECT_THAT(MessagesOf(read("3.0")), ElementsAre("PreconditionFailed"));
}

TEST(RedfishRead, IsNotRepeatedForWhoHasItAlready) {
    const ShownBlade blade(SmallBlade());
    const std::string etag(blade.Get(Amc3).Header("ETag"));
    const auto read = [&](const std::string& match, const std::string& noneMatch) {
        RedfishRequest request{"GET", Amc3};
        request.m_ifMatch = match;
        request.m_ifNoneMatch = noneMatch;
        return Read(blade.m_facts, request);
    };
    EXPECT_EQ(304U, read("", etag).m_status);
    EXPECT_EQ("", read("", etag).m_body);
    EXPECT_EQ(etag, read("", etag).Header("ETag"));
    EXPECT_EQ(304U, read("", "\"x\", " + etag).m_status);
    EXPECT_EQ(304U, read("", "*").m_status);
    EXPECT_EQ(200U, read("", "\"x\"").m_status);
    EXPECT_EQ(200U, read(etag, "").m_status);
    EXPECT_EQ(412U, read("\"x\"", "").m_status);
}

TEST(RedfishEtag, LeavesClocksOut) {
    ShownBlade blade(SmallBlade());
    std::vector<std::string> before;
    const std::vector<std::string> paths = {"/redfish/v1/Managers/Bmhost", "/redfish/v1/TaskService", Amc3};
    for (const std::string& path : paths)
        before.emplace_back(blade.Get(path).Header("ETag"));
    blade.m_facts.m_now = TimeAt(4000);
    for (std::size_t i = 0; i < paths.size(); ++i)
        EXPECT_EQ(before[i], blade.Get(paths[i]).Header("ETag")) << paths[i];
}

TEST(RedfishEtag, ChangesWithAnythingElse) {
    Picture picture = SmallBlade();
    const std::string before(ShownBlade(picture).Get(Amc3).Header("ETag"));
    picture.m_leds.back() = LedAt(3, 3, 1, 0, 3);
    const std::string after(ShownBlade(picture).Get(Amc3).Header("ETag"));
    EXPECT_NE(before, after);
    EXPECT_NE(after, ShownBlade(picture).Get("/redfish/v1/Chassis/AMC6").Header("ETag"));
}

} // namespace
