// PATCH of a port and of an interface.
#include "TestWishes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

const std::string Port2 = "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/2";
const std::string Dsp2 = "/redfish/v1/Systems/Media/EthernetInterfaces/AMC6-DSP2";

std::string Patched(const std::string& path, const std::string& body) {
    return TextOfWish(WishAt(SmallBlade(), "PATCH", path, body));
}

TEST(RedfishPatch, OfAPortIsAnOrder) {
    EXPECT_EQ(R"(switch-set {"enabled":true,"port":2})", Patched(Port2, R"({"InterfaceEnabled": true})"));
    EXPECT_EQ(R"(switch-set {"enabled":false,"port":2})",
              Patched(Port2, R"({"InterfaceEnabled": false, "@odata.id": 1})"));
    const Wish wish = WishAt(SmallBlade(), "PATCH", Port2, R"({"InterfaceEnabled": false})");
    EXPECT_EQ(Port2, OrderOfWish(wish).m_uri);
    EXPECT_FALSE(OrderOfWish(wish).m_answeredFirst);
    EXPECT_NO_THROW(CheckOrder(OrderOfWish(wish).m_order));
}

TEST(RedfishPatch, OfAnInterfaceIsAnOrder) {
    EXPECT_EQ(R"(dsp-set-ip {"address":"192.168.0.77","dsp":4})",
              Patched(Dsp2, R"({"IPv4StaticAddresses": [{"Address": "192.168.0.77"}]})"));
    EXPECT_NO_THROW(CheckOrder(
        OrderOfWish(WishAt(SmallBlade(), "PATCH", Dsp2, R"({"IPv4StaticAddresses": [{"Address": "1.2.3.4"}]})"))
            .m_order));
}

TEST(RedfishPatch, TakesOneAddressAndNothingElse) {
    const auto patched = [](const std::string& value) {
        return Patched(Dsp2, R"({"IPv4StaticAddresses": )" + value + "}");
    };
    EXPECT_EQ("400 PropertyValueTypeError(1.2.3.4, IPv4StaticAddresses)", patched(R"("1.2.3.4")"));
    EXPECT_EQ("400 PropertyValueTypeError(null, IPv4StaticAddresses)", patched("null"));
    EXPECT_EQ("400 ArraySizeTooShort(IPv4StaticAddresses, 1)", patched("[]"));
    EXPECT_EQ("400 ArraySizeTooLong(IPv4StaticAddresses, 1)",
              patched(R"([{"Address": "1.2.3.4"}, {"Address": "1.2.3.5"}])"));
    EXPECT_EQ("400 PropertyValueTypeError(null, IPv4StaticAddresses/0)", patched("[null]"));
    EXPECT_EQ("400 PropertyMissing(IPv4StaticAddresses/0/Address)", patched("[{}]"));
    EXPECT_EQ("400 PropertyNotWritable(IPv4StaticAddresses/0/SubnetMask)",
              patched(R"([{"Address": "1.2.3.4", "SubnetMask": "255.255.255.0"}])"));
    EXPECT_EQ("400 PropertyUnknown(IPv4StaticAddresses/0/Adress)", patched(R"([{"Adress": "1.2.3.4"}])"));
    EXPECT_EQ("400 PropertyValueTypeError(7, IPv4StaticAddresses/0/Address)", patched(R"([{"Address": 7}])"));
    for (const char* const address : {"1.2.3", "1.2.3.256", "", "fe80::1", "1.2.3.4 "})
        EXPECT_EQ("400 PropertyValueFormatError(" + std::string(address) + ", IPv4StaticAddresses/0/Address)",
                  patched(R"([{"Address": ")" + std::string(address) + R"("}])"));
}

TEST(RedfishPatch, NamesEachPropertyThatCannotBeWritten) {
    EXPECT_EQ("400 PropertyNotWritable(Name) PropertyUnknown(Colour)", Patched(Port2, R"({"Name": "x", "Colour": 1})"));
    EXPECT_EQ("400 PropertyNotWritable(Oem)", Patched(Port2, R"({"Oem": {"Bmhost": {"LeadsTo": "x"}}})"));
    EXPECT_EQ("400 PropertyNotWritable(MACAddress)", Patched(Dsp2, R"({"MACAddress": "02:00:00:00:00:01"})"));
    const Wish wish = WishAt(SmallBlade(), "PATCH", Port2, R"({"Name": "x"})");
    const auto body = BodyOf(std::get<RedfishAnswer>(wish));
    EXPECT_EQ(Json(R"(["#/Name"])"), body["error"]["@Message.ExtendedInfo"][0]["RelatedProperties"]);
}

TEST(RedfishPatch, WritesWhatCanBeAndRemarksTheRest) {
    const Wish wish = WishAt(SmallBlade(), "PATCH", Port2, R"({"Name": "x", "InterfaceEnabled": true, "y": 1})");
    EXPECT_EQ(R"(switch-set {"enabled":true,"port":2})", TextOfWish(wish));
    ASSERT_EQ(2U, OrderOfWish(wish).m_remarks.size());
    EXPECT_EQ("PropertyNotWritable", OrderOfWish(wish).m_remarks[0].m_key);
    EXPECT_EQ("PropertyUnknown", OrderOfWish(wish).m_remarks[1].m_key);
}

TEST(RedfishPatch, WritesNothingWhenAValueIsWrong) {
    EXPECT_EQ("400 PropertyValueTypeError(1, InterfaceEnabled)", Patched(Port2, R"({"InterfaceEnabled": 1})"));
    EXPECT_EQ("400 PropertyValueTypeError(true, InterfaceEnabled)", Patched(Port2, R"({"InterfaceEnabled": "true"})"));
    EXPECT_EQ("400 PropertyValueTypeError(null, InterfaceEnabled) PropertyNotWritable(Id)",
              Patched(Port2, R"({"Id": "3", "InterfaceEnabled": null})"));
}

TEST(RedfishPatch, OfAnnotationsDoesNothing) {
    EXPECT_EQ("400 NoOperation", Patched(Port2, "{}"));
    EXPECT_EQ("400 NoOperation", Patched(Port2, R"({"@odata.etag": "x", "Name@odata.type": "y"})"));
    EXPECT_EQ("400 MalformedJSON", Patched(Port2, "{"));
    EXPECT_EQ("400 UnrecognizedRequestBody", Patched(Port2, "true"));
}

TEST(RedfishPatch, HoldsForWhoSawTheLatest) {
    const ShownBlade blade(SmallBlade());
    const std::string etag(blade.Get(Port2).Header("ETag"));
    const auto patched = [&](const std::string& match, const std::string& noneMatch) {
        RedfishRequest request{"PATCH", Port2};
        request.m_ifMatch = match;
        request.m_ifNoneMatch = noneMatch;
        request.m_body = R"({"InterfaceEnabled": true})";
        return TextOfWish(WishOf(blade.m_facts, request)).substr(0, 3);
    };
    EXPECT_EQ("swi", patched("", ""));
    EXPECT_EQ("swi", patched(etag, ""));
    EXPECT_EQ("swi", patched("*", ""));
    EXPECT_EQ("412", patched("\"0000000000000000\"", ""));
    EXPECT_EQ("412", patched("", etag));
}

} // namespace
