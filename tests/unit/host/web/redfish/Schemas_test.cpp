// The schemas whose types this tree has.
#include "host/web/redfish/Schemas.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <map>
#include <regex>
#include <set>
#include <stdexcept>

namespace {

using namespace bmhost;
using testing::HasSubstr;

TEST(RedfishSchemas, MakeTheTypesOfResources) {
    EXPECT_EQ("#Chassis.v1_28_0.Chassis", TypeOf("Chassis"));
    EXPECT_EQ("#ChassisCollection.ChassisCollection", TypeOf("ChassisCollection"));
    EXPECT_EQ("#Bmhost.v1_0_0.Port", OwnTypeOf("Port"));
    EXPECT_EQ("https://redfish.dmtf.org/schemas/v1/Chassis.v1_28_0.json", DescriptionUri("Chassis"));
    EXPECT_THROW(TypeOf("Fan"), std::logic_error);
}

TEST(RedfishSchemas, AreAllInTheMetadataWithAndWithoutVersion) {
    const std::string text = MetadataXml();
    for (const Schema& schema : Schemas()) {
        EXPECT_THAT(text, HasSubstr("Namespace=\"" + std::string(schema.m_name) + "\""));
        EXPECT_THAT(text, HasSubstr("Namespace=\"" + schema.Namespace() + "\""));
    }
    EXPECT_THAT(text, HasSubstr("Namespace=\"Bmhost\""));
    EXPECT_THAT(text, HasSubstr("Namespace=\"Bmhost.v1_0_0\""));
    EXPECT_THAT(text,
                HasSubstr("<EntityContainer Name=\"Service\" Extends=\"ServiceRoot.v1_19_0.ServiceContainer\"/>"));
    EXPECT_THAT(text, HasSubstr("Namespace=\"ServiceRoot.v1_19_0\""));
}

TEST(RedfishSchemas, OpenAndCloseEveryElement) {
    for (const std::string& text : {MetadataXml(), std::string(OwnCsdl())}) {
        std::vector<std::string> open;
        const std::regex element("<(/?)([\\w:]+)([^>]*?)(/?)>");
        for (std::sregex_iterator it(text.begin(), text.end(), element), end; it != end; ++it) {
            if ((*it)[1] == "/") {
                ASSERT_FALSE(open.empty());
                EXPECT_EQ(open.back(), (*it)[2]);
                open.pop_back();
            } else if ((*it)[4] != "/") {
                open.push_back((*it)[2]);
            }
        }
        EXPECT_TRUE(open.empty());
    }
}

TEST(RedfishSchemas, OfTheOwnTypesAreTheSameInBothFiles) {
    const std::string csdl(OwnCsdl());
    std::map<std::string, std::set<std::string>> types;
    const std::regex element("<(ComplexType|Property|EnumType) Name=\"(\\w+)\"");
    std::string type;
    for (std::sregex_iterator it(csdl.begin(), csdl.end(), element), end; it != end; ++it) {
        if ((*it)[1] == "Property") {
            types[type].insert((*it)[2]);
        } else {
            type = (*it)[2];
        }
    }
    std::map<std::string, std::set<std::string>> described;
    const auto schema = nlohmann::json::parse(OwnJsonSchema());
    for (const auto& [name, definition] : schema["definitions"].items()) {
        if (!definition.contains("properties") || definition.contains("parameters")) continue;
        for (const auto& [property, form] : definition["properties"].items()) {
            if (property != "@odata.type") described[name].insert(property);
        }
    }
    EXPECT_EQ(6U, types.size());
    EXPECT_EQ(types, described);
    // The first parameter of an action is what it is bound to.
    std::set<std::string> parameters;
    const std::regex parameter("<Parameter Name=\"(\\w+)\"");
    for (std::sregex_iterator it(csdl.begin(), csdl.end(), parameter), end; it != end; ++it)
        parameters.insert((*it)[1]);
    EXPECT_EQ(1U, parameters.erase("Chassis"));
    for (const auto& [name, form] : schema["definitions"]["SetLed"]["parameters"].items())
        EXPECT_EQ(1U, parameters.erase(name)) << name;
    EXPECT_TRUE(parameters.empty());
}

} // namespace
