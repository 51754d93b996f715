// The orders that there are, each in a file of its own.
#pragma once

#include "host/orders/Order.h"
#include "host/orders/OrderValues.h"

#include "bm/Params.h"

#include <string_view>

namespace bmhost {

/// One order: what is checked before anything is asked of an adaptor, and what is done.
struct OrderKind {
    std::string_view m_name;
    void (*m_check)(const OrderValues& values);
    OrderOutcome (*m_carryOut)(const OrderValues& values, Session& session, const Picture& picture);
    bool m_onSimulated = false; ///< whether it is carried out on simulated data that nobody asked for
};

extern const OrderKind LedSet;
extern const OrderKind DspSetIp;
extern const OrderKind SwitchSet;
extern const OrderKind BoardReset;
extern const OrderKind FirmwareUpdate;
extern const OrderKind StartBlade;
extern const OrderKind StopBlade;

/// What an upgrade would write; nothing is asked of an adaptor.
OrderOutcome DryUpgrade(const OrderValues& values);

/// Writes the row, and returns the call's result, which becomes the outcome's with the errors logged meanwhile.
int WriteRowOf(Session& session, OrderOutcome& outcome, unsigned group, BM_ADAPTOR::CBMIKeys& keys,
               BM_ADAPTOR::CBMIParams& values);

} // namespace bmhost
