// DSPs and switch ports as lines of a table.
#include "host/views/BoardLines.h"

#include "common/veldo_common_protocol.h"
#include "host/session/Rows.h"

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

// Any stored number but 1 disables the port, and is kept.
std::string PortStateText(int32_t admin) {
    if (admin == PortEnabled) return "enabled";
    return admin == PortDisabled ? "disabled" : "disabled (" + std::to_string(admin) + ")";
}

std::string LinkText(int32_t oper) {
    constexpr int down = 0;
    constexpr int up = 1;
    if (oper == up) return "up";
    return oper == down ? "down" : "unknown";
}

std::string PortTypeText(int32_t type) {
    constexpr int fabric = 2;
    constexpr int rtmBoard = 3;
    if (type == fabric) return "fabric";
    return type == rtmBoard ? "RTM" : std::to_string(type);
}

} // namespace

const std::vector<std::string>& DspHeading() {
    static const std::vector<std::string> heading = {"DSP", "AMC bay", "DSP of AMC", "MAC address", "IP address"};
    return heading;
}

std::vector<std::string> DspLine(int dsp, const CBMIParams& row, const std::string& address) {
    return {std::to_string(dsp), TextOf(row, BMI_HW_AMC_DSP_BAY), TextOf(row, BMI_HW_AMC_DSP_NUM),
            TextOf(row, BMI_HW_AMC_DSP_MAC), address};
}

const std::vector<std::string>& PortHeading() {
    static const std::vector<std::string> heading = {"port", "name", "leads to", "state", "link"};
    return heading;
}

std::vector<std::string> PortLine(const CBMIParams& row) {
    return {TextOf(row, BMI_HW_AMC_SWITCHPORT_NUM), TextOf(row, BMI_HW_AMC_SWITCHPORT_NAME),
            PortTypeText(IntegerOf(row, BMI_HW_AMC_SWITCHPORT_TYPE)),
            PortStateText(IntegerOf(row, BMI_HW_AMC_SWITCHPORT_ADMIN)),
            LinkText(IntegerOf(row, BMI_HW_AMC_SWITCHPORT_OPER))};
}

} // namespace bmhost
