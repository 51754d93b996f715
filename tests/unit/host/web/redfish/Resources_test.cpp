// The tree as a whole, on blades of every kind: what a client finds that follows every link.
#include "host/web/redfish/Resources.h"

#include "SchemaRules.h"
#include "TestBlades.h"

#include "host/web/redfish/Schemas.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

namespace {

using namespace bmhost;
using nlohmann::ordered_json;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

/// Follows every link from the root; what is wrong is in the breaches.
class Crawler {
public:
    explicit Crawler(const ShownBlade& blade) : m_blade(blade) {}

    void Follow(const std::string& uri, const std::string& schema) {
        if (const auto seen = m_seen.find(uri); seen != m_seen.end()) {
            if (seen->second != schema) m_breaches.push_back(uri + ": is no " + schema);
            return;
        }
        const RedfishAnswer answer = m_blade.Get(uri);
        const ordered_json resource = BodyOf(answer);
        m_seen[uri] = schema;
        if (answer.m_status != 200 || !resource.is_object()) {
            m_breaches.push_back(uri + ": " + std::to_string(answer.m_status));
            return;
        }
        if (TypeOf(schema) != resource.value("@odata.type", "")) m_breaches.push_back(uri + ": is no " + schema);
        for (const std::string& breach : BreachesOf(resource, uri))
            m_breaches.push_back(breach);
        for (const SchemaLink& link : LinksOf(resource))
            Follow(link.m_uri, link.m_schema);
    }

    std::map<std::string, std::string> m_seen;
    std::vector<std::string> m_breaches;

private:
    const ShownBlade& m_blade;
};

std::set<std::string> SchemasSeen(const Crawler& crawler) {
    std::set<std::string> schemas;
    for (const auto& [uri, schema] : crawler.m_seen)
        schemas.insert(schema);
    return schemas;
}

class Resources : public testing::TestWithParam<Picture (*)()> {};

TEST_P(Resources, AreAllFoundAndAsTheirSchemasDemand) {
    const ShownBlade blade(GetParam()());
    Crawler crawler(blade);
    crawler.Follow("/redfish/v1/", "ServiceRoot");
    EXPECT_THAT(crawler.m_breaches, IsEmpty());
    EXPECT_GE(crawler.m_seen.size(), 40U);
}

INSTANTIATE_TEST_SUITE_P(OnBlades, Resources,
                         testing::Values(SmallBlade, BigBlade, HostileBlade, LookedAtBlade, BareBlade));

TEST(Resources, OfEverySchemaThatTheTableHasAreFound) {
    const ShownBlade blade(BigBlade());
    Crawler crawler(blade);
    crawler.Follow("/redfish/v1/", "ServiceRoot");
    for (const Schema& schema : Schemas()) {
        if (schema.m_name == "Event") continue; // comes in a stream only
        EXPECT_THAT(SchemasSeen(crawler), Contains(schema.m_name));
    }
}

TEST(Resources, AreAsMuchAsPossibleOnAFullBlade) {
    const ShownBlade blade(BigBlade());
    Crawler crawler(blade);
    crawler.Follow("/redfish/v1/", "ServiceRoot");
    std::map<std::string, int> counts;
    for (const auto& [uri, schema] : crawler.m_seen)
        ++counts[schema];
    EXPECT_EQ(10, counts["Chassis"]);
    EXPECT_EQ(32, counts["Processor"]);
    EXPECT_EQ(32, counts["EthernetInterface"]);
    EXPECT_EQ(3, counts["Port"]);
    EXPECT_EQ(10, counts["SoftwareInventory"]);
    EXPECT_EQ(50, counts["Task"]) << "the last ones";
    EXPECT_EQ(1, counts["ComputerSystem"]);
    EXPECT_EQ(1, counts["Manager"]);
}

TEST(Resources, AreTheSameWithASlashTooMany) {
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ(blade.At("/redfish/v1"), blade.At("/redfish/v1/"));
    EXPECT_EQ(blade.At("/redfish/v1/Chassis/AMC3"), blade.At("/redfish/v1/Chassis/AMC3/"));
    EXPECT_EQ("/redfish/v1/Chassis/AMC3", blade.At("/redfish/v1/Chassis/AMC3/")["@odata.id"]);
    EXPECT_EQ(nullptr, blade.At("/redfish/v1/Chassis/AMC3//"));
}

TEST(Resources, AreNotFoundElsewhere) {
    const ShownBlade blade(SmallBlade());
    for (const char* const path :
         {"", "/", "/redfish/v2", "/redfish/v1/Chassis/AMC1", "/redfish/v1/Chassis/blade", "/redfish/v1/Chassis/AMC03",
          "/redfish/v1/Chassis/AMC9", "/redfish/v1/Systems/1", "/redfish/v1/Systems/Media/Processors/AMC3-DSP3",
          "/redfish/v1/Chassis/AMC3/x", "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/4",
          "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/01", "/redfish/v1/TaskService/Tasks/1",
          "/redfish/v1/Registries/Base.1.21"})
        EXPECT_EQ(nullptr, blade.At(path)) << path;
}

TEST(Resources, AllowWhatTheyTake) {
    const ShownBlade blade(SmallBlade());
    const auto allow = [&](const char* path) { return AllowOf(FindNode(blade.m_facts, path)); };
    EXPECT_EQ("GET, HEAD", allow("/redfish/v1/Chassis/Blade"));
    EXPECT_EQ("GET, HEAD, PATCH", allow("/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1"));
    EXPECT_EQ("GET, HEAD, PATCH", allow("/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP1"));
    EXPECT_EQ("GET, HEAD, POST", allow("/redfish/v1/SessionService/Sessions"));
    EXPECT_EQ("POST", allow("/redfish/v1/SessionService/Sessions/Members"));
    EXPECT_EQ("GET, HEAD, DELETE", allow("/redfish/v1/SessionService/Sessions/7f"));
    EXPECT_EQ("GET, HEAD, DELETE", allow("/redfish/v1/EventService/Subscriptions/1"));
    EXPECT_EQ("POST", allow("/redfish/v1/UpdateService/upload"));
    EXPECT_EQ("POST", allow("/redfish/v1/Chassis/Blade/Actions/Chassis.Reset"));
    const ShownBlade lookedAt(LookedAtBlade());
    EXPECT_EQ("GET, HEAD",
              AllowOf(FindNode(lookedAt.m_facts, "/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP1")));
}

TEST(Resources, OfAccountsAndSessionsHaveAnOwner) {
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ("guest", OwnerOf(blade.m_facts, "/redfish/v1/AccountService/Accounts/guest"));
    EXPECT_EQ("root", OwnerOf(blade.m_facts, "/redfish/v1/SessionService/Sessions/7f"));
    EXPECT_EQ(std::nullopt, OwnerOf(blade.m_facts, "/redfish/v1/SessionService/Sessions/81"));
    EXPECT_EQ(std::nullopt, OwnerOf(blade.m_facts, "/redfish/v1/Chassis/Blade"));
}

TEST(SchemaRules, FindWhatIsWrong) {
    const ShownBlade blade(SmallBlade());
    const auto breaches = [&](const std::function<void(ordered_json&)>& change) {
        ordered_json chassis = blade.At("/redfish/v1/Chassis/AMC3");
        change(chassis);
        return BreachesOf(chassis, "/redfish/v1/Chassis/AMC3");
    };
    const std::string uri = "/redfish/v1/Chassis/AMC3: ";
    EXPECT_THAT(breaches([](ordered_json&) {}), IsEmpty());
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["Id"] = "3"; }), ElementsAre(uri + "Id"));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["Model"] = ""; }),
                ElementsAre(uri + "Model is no text: \"\""));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["Model"] = nullptr; }),
                ElementsAre(uri + "Model is no text: null"));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["Modell"] = "x"; }),
                ElementsAre(uri + "Modell is not known"));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis.erase("ChassisType"); }),
                ElementsAre(uri + "ChassisType is missing"));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["Status"]["State"] = "Fine"; }),
                ElementsAre(uri + "Status/State is no Enabled|StandbyOffline|Starting|UnavailableOffline|Updating: "
                                  "\"Fine\""));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["Links"]["ContainedBy"]["Name"] = "x"; }),
                Contains(testing::StartsWith(uri + "Links/ContainedBy is no link")));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["Links"]["Processors@odata.count"] = 7; }),
                ElementsAre(uri + "Links/Processors@odata.count is wrong"));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["Oem"]["Bmhost"]["Leds"][0]["State"] = "Flash"; }),
                ElementsAre(uri + "Oem/Bmhost/Leds/*/State has the unknown value \"Flash\""));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["Oem"]["Bmhost"]["RunStatus"] = 4.0; }),
                ElementsAre(uri + "Oem/Bmhost/RunStatus is no Edm.Int64: 4.0"));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["Actions"]["Oem"]["#Bmhost.SetLed"]["target"] = "/"; }),
                ElementsAre(uri + "#Bmhost.SetLed has another target"));
    EXPECT_THAT(breaches([](ordered_json& chassis) { chassis["@odata.type"] = "#Chassis.v1_0_0.Chassis"; }),
                ElementsAre(uri + "of the unknown type #Chassis.v1_0_0.Chassis"));
}

} // namespace
