// The registries of messages, and the schema of the own types.
#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

namespace {

using namespace bmhost;

TEST(RedfishRegistries, AreThoseThatMessagesAreFrom) {
    std::set<std::string> used;
    for (const MessageKind& kind : MessageKinds())
        used.insert(std::string(kind.m_registry));
    const ShownBlade blade(SmallBlade());
    std::set<std::string> served;
    const auto registries = blade.At("/redfish/v1/Registries");
    for (const auto& member : registries["Members"])
        served.insert(blade.At(member["@odata.id"])["Registry"]);
    EXPECT_EQ(used, served);
}

TEST(RedfishRegistries, OfOthersArePointedTo) {
    const auto file = ShownBlade(SmallBlade()).At("/redfish/v1/Registries/Base.1.22");
    EXPECT_EQ(Json(R"([{"Language": "en",
                        "PublicationUri": "https://redfish.dmtf.org/registries/Base.1.22.3.json"}])"),
              file["Location"]);
}

TEST(RedfishRegistries, HaveTheOwnMessages) {
    const ShownBlade blade(SmallBlade());
    const auto registry = blade.At(blade.At("/redfish/v1/Registries/Bmhost.1.0")["Location"][0]["Uri"]);
    EXPECT_EQ("Bmhost", registry["RegistryPrefix"]);
    EXPECT_EQ("1.0.0", registry["RegistryVersion"]);
    std::map<std::string, std::size_t> arguments;
    for (const auto& [key, message] : registry["Messages"].items())
        arguments[key] = message["NumberOfArgs"];
    std::map<std::string, std::size_t> used;
    for (const MessageKind& kind : MessageKinds()) {
        if (kind.m_registry == "Bmhost.1.0") used[std::string(kind.m_key)] = ArgumentsOf(kind);
    }
    EXPECT_EQ(used, arguments);
}

TEST(RedfishSchemaFile, LeadsToTheOwnSchema) {
    const ShownBlade blade(SmallBlade());
    const auto file = blade.At("/redfish/v1/JsonSchemas/Bmhost.v1_0_0");
    const RedfishAnswer schema = blade.Get(file["Location"][0]["Uri"]);
    EXPECT_EQ(200U, schema.m_status);
    EXPECT_EQ(file["Schema"], BodyOf(schema)["title"]);
}

} // namespace
