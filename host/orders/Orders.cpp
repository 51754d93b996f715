// What changes a blade: the table of the orders.
#include "host/orders/Order.h"

#include "host/orders/OrderKinds.h"
#include "host/picture/PictureJson.h"
#include "host/session/CallReasons.h"
#include "host/session/Session.h"
#include "host/views/Views.h"
#include "host/words/Error.h"
#include "host/words/Situations.h"

namespace bmhost {

namespace {

constexpr const OrderKind* Kinds[] = {&LedSet,         &DspSetIp,   &SwitchSet, &BoardReset,
                                      &FirmwareUpdate, &StartBlade, &StopBlade};

const OrderKind& KindOf(const Order& order) {
    std::string names;
    for (const OrderKind* kind : Kinds) {
        if (order.m_name == kind->m_name) return *kind;
        names.append(names.empty() ? "" : ", ").append(kind->m_name);
    }
    throw UsageError("order '" + order.m_name + "': expected one of " + names);
}

} // namespace

void CheckOrder(const Order& order) {
    const OrderKind& kind = KindOf(order);
    kind.m_check({kind.m_name, order.m_values});
}

std::optional<OrderOutcome> RefusedAsSimulated(const Order& order, const Source& source) {
    const OrderValues values(order.m_name, order.m_values);
    const bool meant = values.FlagIfAny(OrderTakesSimulated) || values.FlagIfAny("dry_run");
    if (!source.IsSimulated() || meant || KindOf(order).m_onSimulated) return std::nullopt;
    OrderOutcome outcome;
    outcome.m_remarks = {SourceText(source), "nothing was done: simulated data were not asked for (--simulated)"};
    outcome.m_values = {{"source", SourceJson(source)}};
    return outcome;
}

bool IsRefusedAsSimulated(const OrderOutcome& outcome) {
    return !outcome.m_good && outcome.m_values.contains("source");
}

OrderOutcome CarryOut(const Order& order, Session& session, const Picture& picture) {
    CheckOrder(order);
    if (auto refused = RefusedAsSimulated(order, picture.m_source)) return *refused;
    const OrderKind& kind = KindOf(order);
    OrderOutcome outcome = kind.m_carryOut({kind.m_name, order.m_values}, session, picture);
    if (outcome.m_good) {
        outcome.m_reasons.clear();
    } else if (outcome.m_cure.empty()) {
        outcome.m_cure = CureOf(outcome.m_reasons);
    }
    return outcome;
}

int WriteRowOf(Session& session, OrderOutcome& outcome, unsigned group, BM_ADAPTOR::CBMIKeys& keys,
               BM_ADAPTOR::CBMIParams& values) {
    const CallReasons reasons;
    outcome.m_result = session.WriteRow(group, keys, values);
    outcome.m_reasons = reasons.Texts();
    return outcome.m_result;
}

} // namespace bmhost
