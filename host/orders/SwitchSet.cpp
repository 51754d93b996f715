// One external port of the switch enabled or disabled.
#include "host/orders/OrderKinds.h"
#include "host/output/TextOutput.h"
#include "host/picture/ReadPicture.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/views/Views.h"

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr int LastSwitchPort = 4;

struct PortWish {
    int m_port = 0;
    bool m_enabled = false;
};

PortWish PortWishOf(const OrderValues& values) {
    values.Only({"port", "enabled"});
    return {values.Number("port", 1, LastSwitchPort), values.Flag("enabled")};
}

std::unique_ptr<CBMIParams> ReadPort(Session& session, int port) {
    int result = 0;
    auto row = session.Row(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, port), result);
    return result == Success ? std::move(row) : nullptr;
}

OrderOutcome SetPort(const OrderValues& values, Session& session, const Picture&) {
    const PortWish wish = PortWishOf(values);
    OrderOutcome outcome;
    outcome.m_values = {{"port", wish.m_port}, {"enabled", wish.m_enabled}};
    const auto before = ReadPort(session, wish.m_port);
    CBMIKeys keys = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, wish.m_port);
    CBMIParams row;
    row.Add(Integer(BMI_HW_AMC_SWITCHPORT_ADMIN, wish.m_enabled ? 1 : 0, false));
    const std::size_t told = session.Complaints().m_count;
    WriteRowOf(session, outcome, BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, keys, row);
    outcome.m_good = outcome.m_result == Success;
    if (!outcome.m_good) {
        outcome.m_remarks.push_back(
            "port " + std::to_string(wish.m_port) + ": " +
            (outcome.m_result == NoRow ? "the blade serves no such port" : "the switch or the storage refused it") +
            "; the adaptor answered " + ResultText(outcome.m_result));
        if (session.Complaints().m_count != told)
            outcome.m_remarks.push_back("the storage said: " + session.Complaints().m_last);
    }
    // The port itself may have changed although its state could not be stored.
    const auto after = ReadPort(session, wish.m_port);
    outcome.m_changed =
        before != nullptr && after != nullptr &&
        IntegerOf(*before, BMI_HW_AMC_SWITCHPORT_ADMIN) != IntegerOf(*after, BMI_HW_AMC_SWITCHPORT_ADMIN);
    if (outcome.m_good && after != nullptr) {
        Picture shown;
        shown.m_ports = {PortOf(*after)};
        outcome.m_text = PortsText(shown, {});
    }
    return outcome;
}

} // namespace

const OrderKind SwitchSet = {"switch-set", [](const OrderValues& values) { PortWishOf(values); }, SetPort};

} // namespace bmhost
