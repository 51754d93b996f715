// The root of the tree, and what describes it.
#include "SchemaRules.h"
#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace {

using namespace bmhost;
using testing::HasSubstr;

TEST(RedfishRoot, NamesTheVersion) {
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ(Json(R"({"v1": "/redfish/v1/"})"), blade.At("/redfish"));
}

TEST(RedfishRoot, SaysThatNoQueryIsOffered) {
    const ShownBlade blade(SmallBlade());
    const auto features = blade.At("/redfish/v1")["ProtocolFeaturesSupported"].flatten();
    EXPECT_EQ(10U, features.size());
    for (const auto& [name, value] : features.items())
        EXPECT_EQ(false, value) << name;
}

TEST(RedfishRoot, SaysWhetherTheInventoryIsSimulated) {
    EXPECT_EQ("bmhost", ShownBlade(SmallBlade()).At("/redfish/v1")["Product"]);
    EXPECT_EQ("bmhost, simulated inventory", ShownBlade(HostileBlade()).At("/redfish/v1")["Product"]);
}

TEST(RedfishRoot, HasTheSessionsUnderOneUri) {
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ(blade.At("/redfish/v1")["Links"]["Sessions"], blade.At("/redfish/v1/SessionService")["Sessions"]);
}

TEST(RedfishRoot, IsThereBeforeTheHostIsHeard) {
    ShownBlade blade(SmallBlade());
    blade.m_view = BladeView{};
    EXPECT_EQ(200U, blade.Get("/redfish/v1/").m_status);
    EXPECT_EQ(200U, blade.Get("/redfish/v1/$metadata").m_status);
    EXPECT_EQ(200U, blade.Get("/redfish/v1/SessionService/Sessions").m_status);
}

TEST(RedfishRoot, ListsItsChildrenForOdata) {
    const ShownBlade blade(SmallBlade());
    const auto document = blade.At("/redfish/v1/odata");
    EXPECT_EQ("/redfish/v1/$metadata", document["@odata.context"]);
    std::set<std::string> listed;
    for (const auto& entry : document["value"]) {
        EXPECT_EQ("Singleton", entry["kind"]);
        EXPECT_EQ(200U, blade.Get(entry["url"]).m_status) << entry;
        listed.insert(entry["url"]);
    }
    std::set<std::string> linked = {"/redfish/v1/"};
    for (const SchemaLink& link : LinksOf(blade.At("/redfish/v1")))
        linked.insert(link.m_uri);
    EXPECT_EQ(linked, listed);
}

TEST(RedfishRoot, ServesMetadataThatNamesTheOwnFile) {
    const ShownBlade blade(SmallBlade());
    const RedfishAnswer answer = blade.Get("/redfish/v1/$metadata");
    EXPECT_EQ("application/xml", answer.m_contentType);
    std::smatch own;
    const std::regex reference("Uri=\"(/[^\"]*\\.xml)\"");
    ASSERT_TRUE(std::regex_search(answer.m_body, own, reference));
    const RedfishAnswer file = blade.Get(own[1]);
    EXPECT_EQ(200U, file.m_status);
    EXPECT_EQ("application/xml", file.m_contentType);
    EXPECT_THAT(file.m_body, HasSubstr("<Action Name=\"SetLed\" IsBound=\"true\">"));
}

} // namespace
