// The baseboard reset.
#include "host/orders/OrderKinds.h"
#include "host/output/TextOutput.h"
#include "host/session/Session.h"

#include "common/veldo_common_protocol.h"

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

OrderOutcome ResetBoard(const OrderValues&, Session& session, const Picture& picture) {
    OrderOutcome outcome;
    CBMIKeys keys;
    CBMIParams row;
    CBMIParam reset(BMI_PARAM_BOOL, BMI_HW_BOARD_RESET_BASEBOARD, false);
    reset.SetBool(true);
    row.Add(reset);
    WriteRowOf(session, outcome, BMI_GROUP_HARDWARE_BOARD, keys, row);
    outcome.m_good = outcome.m_result == Success;
    if (!outcome.m_good) {
        outcome.m_remarks.push_back("baseboard: no reset was sent; the adaptor answered " +
                                    ResultText(outcome.m_result));
    } else if (picture.m_source.IsSimulated()) {
        outcome.m_remarks.emplace_back("the inventory is simulated: no reset was sent");
    } else {
        outcome.m_changed = true;
        outcome.m_text = "baseboard: a cold reset was sent; the adaptor does not wait for the controller's answer\n";
    }
    return outcome;
}

} // namespace

const OrderKind BoardReset = {"board-reset", [](const OrderValues& values) { values.Only({}); }, ResetBoard};

} // namespace bmhost
