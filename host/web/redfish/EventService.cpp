// The service of events, and the streams that are open.
#include "host/web/redfish/Builders.h"
#include "host/web/redfish/Places.h"

#include <algorithm>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr const char* SubscriptionsUri = "/redfish/v1/EventService/Subscriptions";

ordered_json NoFilters() {
    ordered_json filters;
    for (const char* const name : {"EventFormatType", "MessageId", "MetricReportDefinition", "OriginResource",
                                   "RegistryPrefix", "ResourceType", "SubordinateResources"})
        filters[name] = false;
    return filters;
}

} // namespace

Resource MakeEventService(const Wanted&) {
    ordered_json service = ResourceOf("EventService", "/redfish/v1/EventService", "EventService", "Events");
    service["ServiceEnabled"] = true;
    service["Status"] = StatusJson({"Enabled", "OK"});
    service["ServerSentEventUri"] = EventStreamUri;
    service["EventFormatTypes"] = ordered_json::array({"Event"});
    service["RegistryPrefixes"] = ordered_json::array({"ResourceEvent", "TaskEvent", std::string(OwnName)});
    service["SSEFilterPropertiesSupported"] = NoFilters();
    service["Subscriptions"] = LinkTo(SubscriptionsUri);
    ordered_json test;
    test["target"] = "/redfish/v1/EventService/Actions/EventService.SubmitTestEvent";
    service["Actions"]["#EventService.SubmitTestEvent"] = test;
    return service;
}

Resource MakeSubscriptions(const Wanted& wanted) {
    std::vector<std::string> ids;
    for (const SubscriptionFacts& subscription : wanted.m_facts.m_subscriptions)
        ids.push_back(subscription.m_id);
    return CollectionOf("EventDestinationCollection", SubscriptionsUri, "Open streams of events", ids);
}

Resource MakeSubscription(const Wanted& wanted) {
    const auto& subscriptions = wanted.m_facts.m_subscriptions;
    const auto found = std::ranges::find(subscriptions, wanted.m_ids.at(0), &SubscriptionFacts::m_id);
    if (found == subscriptions.end()) return std::nullopt;
    ordered_json fields = ResourceOf("EventDestination", std::string(SubscriptionsUri) + "/" + found->m_id, found->m_id,
                                     "Stream of events " + found->m_id);
    std::string context = found->m_account.empty() ? "no account" : found->m_account;
    if (!found->m_address.empty()) context += " at " + found->m_address;
    fields["Context"] = context;
    fields["SubscriptionType"] = "SSE";
    fields["Protocol"] = "Redfish";
    fields["EventFormatType"] = "Event";
    return fields;
}

} // namespace bmhost
