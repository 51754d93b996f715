// The service of events, and the streams that are open.
#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

TEST(RedfishEventService, OffersAStreamWithoutFilters) {
    const auto service = ShownBlade(SmallBlade()).At("/redfish/v1/EventService");
    EXPECT_EQ("/redfish/v1/EventService/SSE", service["ServerSentEventUri"]);
    EXPECT_EQ(Json(R"(["Event"])"), service["EventFormatTypes"]);
    EXPECT_EQ(7U, service["SSEFilterPropertiesSupported"].size());
    for (const auto& [name, value] : service["SSEFilterPropertiesSupported"].items())
        EXPECT_EQ(false, value) << name;
    EXPECT_FALSE(service.contains("EventTypesForSubscription"));
}

TEST(RedfishEventService, TakesNoSubscriptionOfOthers) {
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ("GET, HEAD", AllowOf(FindNode(blade.m_facts, "/redfish/v1/EventService/Subscriptions")));
}

TEST(RedfishSubscription, IsAnOpenStream) {
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ(Json(R"({"@odata.id": "/redfish/v1/EventService/Subscriptions/1",
        "@odata.type": "#EventDestination.v1_16_0.EventDestination", "Id": "1", "Name": "Stream of events 1",
        "Context": "root at 192.0.2.1", "SubscriptionType": "SSE", "Protocol": "Redfish",
        "EventFormatType": "Event"})"),
              blade.At("/redfish/v1/EventService/Subscriptions/1"));
    EXPECT_EQ("no account", blade.At("/redfish/v1/EventService/Subscriptions/2")["Context"]);
    EXPECT_EQ(nullptr, blade.At("/redfish/v1/EventService/Subscriptions/3"));
}

} // namespace
