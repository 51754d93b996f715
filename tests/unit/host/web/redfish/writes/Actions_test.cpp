// Actions and their parameters.
#include "TestWishes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

const std::string Reset = "/redfish/v1/Chassis/Blade/Actions/Chassis.Reset";
const std::string BladeLed = "/redfish/v1/Chassis/Blade/Actions/Oem/Bmhost.SetLed";
const std::string AmcLed = "/redfish/v1/Chassis/AMC3/Actions/Oem/Bmhost.SetLed";
const std::string TestEvents = "/redfish/v1/EventService/Actions/EventService.SubmitTestEvent";

std::string Posted(const std::string& path, const std::string& body) {
    return TextOfWish(WishAt(SmallBlade(), "POST", path, body));
}

TEST(RedfishReset, NeedsItsType) {
    EXPECT_EQ("board-reset {}", Posted(Reset, R"({"ResetType": "ForceRestart"})"));
    EXPECT_EQ("400 ActionParameterMissing(Chassis.Reset, ResetType)", Posted(Reset, ""));
    EXPECT_EQ("400 ActionParameterMissing(Chassis.Reset, ResetType)", Posted(Reset, "{}"));
    EXPECT_EQ("400 ActionParameterValueNotInList(GracefulRestart, ResetType, Chassis.Reset)",
              Posted(Reset, R"({"ResetType": "GracefulRestart"})"));
    EXPECT_EQ("400 ActionParameterValueTypeError(true, ResetType, Chassis.Reset)",
              Posted(Reset, R"({"ResetType": true})"));
    EXPECT_EQ("400 ActionParameterUnknown(Chassis.Reset, Delay)",
              Posted(Reset, R"({"ResetType": "ForceRestart", "Delay": 1})"));
    EXPECT_EQ("400 MalformedJSON", Posted(Reset, "{"));
}

TEST(RedfishReset, IsAnsweredFirst) {
    const Wish wish = WishAt(SmallBlade(), "POST", Reset, R"({"ResetType": "ForceRestart"})");
    EXPECT_TRUE(OrderOfWish(wish).m_answeredFirst);
    EXPECT_NO_THROW(CheckOrder(OrderOfWish(wish).m_order));
}

TEST(RedfishSetLed, IsAnOrder) {
    EXPECT_EQ(R"(led-set {"action":"on","bay":0,"color":"red","led":2})",
              Posted(BladeLed, R"({"Led": 2, "State": "On", "Color": "Red"})"));
    EXPECT_EQ(R"(led-set {"action":"blink","bay":3,"led":3,"off":300,"on":200})",
              Posted(AmcLed, R"({"Led": 3, "State": "Blink", "OnMilliseconds": 200, "OffMilliseconds": 300})"));
    EXPECT_EQ(R"(led-set {"action":"off","bay":3,"led":1})", Posted(AmcLed, R"({"Led": 1, "State": "Off"})"));
    EXPECT_EQ(R"(led-set {"action":"local","bay":3,"led":4})", Posted(AmcLed, R"({"Led": 4, "State": "Local"})"));
    for (const char* const body :
         {R"({"Led": 2, "State": "Blink", "Color": "Amber"})", R"({"Led": 1, "State": "Off"})"})
        EXPECT_NO_THROW(CheckOrder(OrderOfWish(WishAt(SmallBlade(), "POST", AmcLed, body)).m_order));
}

TEST(RedfishSetLed, NamesAllThatIsWrong) {
    const std::string action = "Bmhost.SetLed";
    EXPECT_EQ("400 ActionParameterMissing(Bmhost.SetLed, Led) ActionParameterMissing(Bmhost.SetLed, State)",
              Posted(BladeLed, ""));
    EXPECT_EQ("400 ActionParameterUnknown(Bmhost.SetLed, Colour)",
              Posted(BladeLed, R"({"Led": 1, "State": "On", "Colour": "Red"})"));
    EXPECT_EQ("400 ActionParameterValueOutOfRange(5, Led, Bmhost.SetLed)",
              Posted(BladeLed, R"({"Led": 5, "State": "On"})"));
    EXPECT_EQ("400 ActionParameterValueOutOfRange(18446744073709551615, Led, Bmhost.SetLed)",
              Posted(BladeLed, R"({"Led": 18446744073709551615, "State": "On"})"));
    EXPECT_EQ("400 ActionParameterValueTypeError(1.0, Led, Bmhost.SetLed)",
              Posted(BladeLed, R"({"Led": 1.0, "State": "On"})"));
    EXPECT_EQ("400 ActionParameterValueNotInList(on, State, Bmhost.SetLed)",
              Posted(BladeLed, R"({"Led": 1, "State": "on"})"));
    EXPECT_EQ("400 ActionParameterValueNotInList(Pink, Color, Bmhost.SetLed)",
              Posted(BladeLed, R"({"Led": 1, "State": "On", "Color": "Pink"})"));
    EXPECT_EQ("400 ActionParameterNotSupported(Color, Bmhost.SetLed)",
              Posted(BladeLed, R"({"Led": 1, "State": "Off", "Color": "Red"})"));
    EXPECT_EQ("400 ActionParameterNotSupported(OnMilliseconds, Bmhost.SetLed)",
              Posted(BladeLed, R"({"Led": 1, "State": "On", "OnMilliseconds": 100})"));
    EXPECT_EQ("400 ActionParameterMissing(Bmhost.SetLed, OffMilliseconds)",
              Posted(BladeLed, R"({"Led": 1, "State": "Blink", "OnMilliseconds": 100})"));
    EXPECT_EQ("400 ActionParameterValueOutOfRange(0, OnMilliseconds, Bmhost.SetLed) "
              "ActionParameterValueOutOfRange(60001, OffMilliseconds, Bmhost.SetLed)",
              Posted(BladeLed, R"({"Led": 1, "State": "Blink", "OnMilliseconds": 0, "OffMilliseconds": 60001})"));
}

TEST(RedfishSetLed, IsThereForTheBladeAndTheFirstAmcOnly) {
    for (const char* const place : {"AMC6", "RTM", "AMC1", "x"}) {
        const std::string path = std::string("/redfish/v1/Chassis/") + place + "/Actions/Oem/Bmhost.SetLed";
        EXPECT_EQ("404 ResourceMissingAtURI(" + path + ")", Posted(path, R"({"Led": 1, "State": "On"})"));
    }
}

TEST(RedfishTestEvent, IsWhatTheClientAskedFor) {
    EXPECT_EQ(R"(test {"EventType":"Other","MessageId":"ResourceEvent.1.4.TestMessage"})",
              Posted(TestEvents, R"({"MessageId": "ResourceEvent.1.4.TestMessage"})"));
    EXPECT_EQ(R"(test {"EventType":"Alert","EventId":"e","EventGroupId":7,"EventTimestamp":"2026-11-22T09:30:00Z",)"
              R"("MessageId":"A.1.0.B","Message":"m","MessageArgs":["x"],"MessageSeverity":"Warning",)"
              R"("OriginOfCondition":{"@odata.id":"/redfish/v1/Chassis/Blade"}})",
              Posted(TestEvents,
                     R"({"EventType": "Alert", "EventId": "e", "EventGroupId": 7,
                         "EventTimestamp": "2026-11-22T09:30:00Z", "MessageId": "A.1.0.B", "Message": "m",
                         "MessageArgs": ["x"], "MessageSeverity": "Warning", "Severity": "Warning",
                         "OriginOfCondition": "/redfish/v1/Chassis/Blade"})"));
}

TEST(RedfishTestEvent, NeedsAMessageId) {
    EXPECT_EQ("400 ActionParameterMissing(EventService.SubmitTestEvent, MessageId)", Posted(TestEvents, "{}"));
    EXPECT_EQ("400 ActionParameterValueFormatError(Test, MessageId, EventService.SubmitTestEvent)",
              Posted(TestEvents, R"({"MessageId": "Test"})"));
    EXPECT_EQ("400 ActionParameterValueTypeError([1], MessageArgs, EventService.SubmitTestEvent)",
              Posted(TestEvents, R"({"MessageId": "A.1.0.B", "MessageArgs": [1]})"));
    EXPECT_EQ("400 ActionParameterUnknown(EventService.SubmitTestEvent, Text)",
              Posted(TestEvents, R"({"MessageId": "A.1.0.B", "Text": "x"})"));
}

} // namespace
