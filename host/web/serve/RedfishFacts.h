// What the Redfish tree is made of, as it is now.
#pragma once

#include "host/web/BladeMirror.h"
#include "host/web/Logins.h"
#include "host/web/redfish/TreeFacts.h"
#include "host/web/serve/EventFeed.h"

#include <cstdint>
#include <string>
#include <utility>

namespace bmhost {

/// The sources of facts. They outlive the object that has this.
struct FactSources {
    BladeMirror& m_mirror;
    Logins& m_logins;
    std::string m_uuid; ///< of the service
    uint64_t m_mostImageBytes = 0;
};

/// What answers are made of, also those that come later.
struct RedfishParts {
    explicit RedfishParts(FactSources sources) : m_sources(std::move(sources)), m_events(m_sources.m_mirror) {}

    const FactSources m_sources;
    EventFeed m_events;
};

/// The facts of one moment.
class FactsNow {
public:
    /// Any thread.
    explicit FactsNow(const RedfishParts& parts);
    FactsNow(const FactsNow&) = delete;
    FactsNow& operator=(const FactsNow&) = delete;

    const TreeFacts& Tree() const { return m_facts; }

private:
    BladeView m_view;
    TreeFacts m_facts;
};

/// Of the service on this machine: the same after each start. Where the machine has no id of its own, it is another
/// one each time.
std::string ServiceUuid();

} // namespace bmhost
