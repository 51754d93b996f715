// What a client is answered once its request was carried out, or was not.
#include "host/web/redfish/writes/OrderAnswer.h"

#include "TestWishes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

OrderOutcome OutcomeOf(int result) {
    OrderOutcome outcome;
    outcome.m_result = result;
    return outcome;
}

std::string Answered(const std::string& method, const std::string& path, const std::string& body, int result) {
    const ShownBlade blade(SmallBlade());
    return TextOfWish(
        OrderAnswer(blade.m_facts, OrderOfWish(WishAt(SmallBlade(), method, path, body)), OutcomeOf(result)));
}

std::string AnsweredLed(int result) {
    return Answered("POST", "/redfish/v1/Chassis/AMC3/Actions/Oem/Bmhost.SetLed",
                    R"({"Led": 3, "State": "On", "Color": "Green"})", result);
}

std::string AnsweredPort(int result) {
    return Answered("PATCH", "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/2", R"({"InterfaceEnabled": true})",
                    result);
}

std::string AnsweredAddress(int result) {
    return Answered("PATCH", "/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP1",
                    R"({"IPv4StaticAddresses": [{"Address": "192.168.0.9"}]})", result);
}

TEST(RedfishAnswers, OfAnLed) {
    EXPECT_EQ("204", AnsweredLed(0));
    EXPECT_EQ("500 OperationFailed NothingSet", AnsweredLed(1)) << "simulated";
    EXPECT_EQ(
        "400 ActionParameterValueError(Color, Bmhost.SetLed) ControllerRefused(0xcc (invalid data field in the request))",
        AnsweredLed(0xCC));
    EXPECT_TRUE(AnsweredLed(0xC9).starts_with("400 ActionParameterValueError(Color, Bmhost.SetLed)"));
    EXPECT_TRUE(AnsweredLed(0x80).starts_with("500 OperationFailed ControllerRefused(0x80"));
    EXPECT_TRUE(AnsweredLed(0xFF).starts_with("500 OperationFailed ControllerRefused(0xff"));
    EXPECT_TRUE(AnsweredLed(-1).starts_with("400 ActionParameterValueError(Led, Bmhost.SetLed)"));
    EXPECT_TRUE(AnsweredLed(12).starts_with("400 ActionParameterValueError(Led, Bmhost.SetLed)"));
    EXPECT_TRUE(AnsweredLed(23).starts_with("500 InternalError AdaptorAnswered(23, "));
}

TEST(RedfishAnswers, OfAPort) {
    EXPECT_EQ("204", AnsweredPort(1));
    EXPECT_TRUE(AnsweredPort(0).starts_with("500 OperationFailed")) << "the switch refused";
    EXPECT_EQ("404 ResourceMissingAtURI(/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/2)", AnsweredPort(4));
    EXPECT_TRUE(AnsweredPort(0x30).starts_with("500 InternalError AdaptorAnswered(48, ")) << "of the storage";
}

TEST(RedfishAnswers, OfAnAddress) {
    EXPECT_EQ("204", AnsweredAddress(1));
    EXPECT_TRUE(AnsweredAddress(4).starts_with("404 "));
    EXPECT_TRUE(AnsweredAddress(0).starts_with("500 InternalError AdaptorAnswered(0, "));
}

TEST(RedfishAnswers, OfAPatchInPartShowTheResource) {
    const Wish wish = WishAt(SmallBlade(), "PATCH", "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/2",
                             R"({"InterfaceEnabled": true, "Name": "x"})");
    Picture after = SmallBlade();
    after.m_ports[1].m_enabled = true;
    const ShownBlade blade(after);
    const RedfishAnswer answer = OrderAnswer(blade.m_facts, OrderOfWish(wish), OutcomeOf(1));
    EXPECT_EQ("200 PropertyNotWritable(Name)", TextOfWish(answer));
    EXPECT_EQ(true, BodyOf(answer)["InterfaceEnabled"]);
    EXPECT_EQ(blade.Get("/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/2").Header("ETag"), answer.Header("ETag"));
}

TEST(RedfishAnswers, OfWhatTheHostRefuses) {
    const OrderWish patch =
        OrderOfWish(WishAt(SmallBlade(), "PATCH", "/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP1",
                           R"({"IPv4StaticAddresses": [{"Address": "10.9.9.9"}]})"));
    EXPECT_EQ("400 PropertyValueIncorrect(IPv4StaticAddresses/0/Address, 10.9.9.9) Refused(another network)",
              TextOfWish(RefusedOrderAnswer(patch, 400, "another network")));
    EXPECT_EQ("503 ServiceTemporarilyUnavailable(5)", TextOfWish(RefusedOrderAnswer(patch, 503, "busy")));
    EXPECT_EQ("503 ServiceTemporarilyUnavailable(5)", TextOfWish(RefusedOrderAnswer(patch, 0, "")));
    EXPECT_EQ("500 InternalError Refused(odd)", TextOfWish(RefusedOrderAnswer(patch, 500, "odd")));
    const OrderWish led = OrderOfWish(WishAt(SmallBlade(), "POST", "/redfish/v1/Chassis/AMC3/Actions/Oem/Bmhost.SetLed",
                                             R"({"Led": 3, "State": "Off"})"));
    EXPECT_EQ("400 ActionParameterValueError(Led, Bmhost.SetLed) Refused(why)",
              TextOfWish(RefusedOrderAnswer(led, 400, "why")));
}

TEST(RedfishAnswers, OfAnUploadLeadToItsMonitor) {
    const ShownBlade blade(BigBlade());
    const RedfishAnswer accepted = UploadAnswer(blade.m_facts, OutcomeOf(1));
    EXPECT_EQ("202", TextOfWish(accepted));
    EXPECT_EQ("", accepted.m_body) << "a client takes a resource in it for the monitor";
    EXPECT_EQ("", accepted.Header("Retry-After"));
    EXPECT_EQ(202U, blade.Get(std::string(accepted.Header("Location"))).m_status);
    const RedfishAnswer busy = UploadAnswer(blade.m_facts, OutcomeOf(0));
    EXPECT_EQ("503 ResourceInUse", TextOfWish(busy));
    EXPECT_EQ("30", busy.Header("Retry-After"));
    EXPECT_TRUE(TextOfWish(UploadAnswer(blade.m_facts, OutcomeOf(23))).starts_with("500 InternalError"));
}

TEST(RedfishAnswers, OfALoginHaveTheToken) {
    const ShownBlade blade(SmallBlade());
    const RedfishAnswer answer = LoginAnswer(blade.m_facts, "7f", "secret");
    EXPECT_EQ(201U, answer.m_status);
    EXPECT_EQ("secret", answer.Header("X-Auth-Token"));
    EXPECT_EQ("/redfish/v1/SessionService/Sessions/7f", answer.Header("Location"));
    EXPECT_EQ(blade.At("/redfish/v1/SessionService/Sessions/7f"), BodyOf(answer));
    EXPECT_EQ(std::string::npos, answer.m_body.find("secret"));
}

} // namespace
