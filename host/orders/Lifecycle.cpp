// The blade started and stopped.
#include "host/orders/OrderKinds.h"
#include "host/output/TextOutput.h"
#include "host/session/CallReasons.h"
#include "host/session/Session.h"
#include "host/words/Situations.h"

namespace bmhost {

namespace {

OrderOutcome Live(Session& session, Operation operation) {
    OrderOutcome outcome;
    const CallReasons reasons;
    outcome.m_result = session.Lifecycle(operation);
    outcome.m_good = outcome.m_changed = outcome.m_result == Success;
    outcome.m_reasons = reasons.Texts();
    if (IsSilentStart(operation, outcome.m_result, outcome.m_reasons)) outcome.m_cure = AdviceForSilentStart().m_cure;
    outcome.m_text = std::string(OperationName(operation)) + ": " + ResultText(outcome.m_result) + "\n";
    return outcome;
}

void CheckNoValues(const OrderValues& values) {
    values.Only({});
}

} // namespace

// They find out what hardware there is.
const OrderKind StartBlade = {
    "start", CheckNoValues,
    [](const OrderValues&, Session& session, const Picture&) { return Live(session, Operation::Start); }, true};
const OrderKind StopBlade = {
    "stop", CheckNoValues,
    [](const OrderValues&, Session& session, const Picture&) { return Live(session, Operation::Stop); }, true};

} // namespace bmhost
