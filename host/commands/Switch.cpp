// `bmhost switch`: the external ports of the blade's Ethernet switch, and one of them enabled or disabled.
#include "host/commands/Switch.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/output/TextOutput.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/words/Error.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

namespace BMHOST {

using namespace BM_ADAPTOR;

namespace {

constexpr int LAST_PORT = 4;
constexpr int ENABLED = 1;
constexpr int DISABLED = 0;
constexpr int LINK_DOWN = 0;
constexpr int LINK_UP = 1;

const std::vector<std::string> PORT_HEADING = {"port", "name", "leads to", "state", "link"};

// Any stored number but 1 disables the port, and is kept.
std::string StateText(int32_t a_Admin) {
    if (a_Admin == ENABLED) return "enabled";
    return a_Admin == DISABLED ? "disabled" : "disabled (" + std::to_string(a_Admin) + ")";
}

std::string LinkText(int32_t a_Oper) {
    if (a_Oper == LINK_UP) return "up";
    return a_Oper == LINK_DOWN ? "down" : "unknown";
}

std::string TypeText(int32_t a_Type) {
    constexpr int FABRIC = 2;
    constexpr int RTM = 3;
    if (a_Type == FABRIC) return "fabric";
    return a_Type == RTM ? "RTM" : std::to_string(a_Type);
}

std::vector<std::string> PortLine(const CBMIParams& a_Row) {
    return {TextOf(a_Row, BMI_HW_AMC_SWITCHPORT_NUM), TextOf(a_Row, BMI_HW_AMC_SWITCHPORT_NAME),
            TypeText(IntegerOf(a_Row, BMI_HW_AMC_SWITCHPORT_TYPE)),
            StateText(IntegerOf(a_Row, BMI_HW_AMC_SWITCHPORT_ADMIN)),
            LinkText(IntegerOf(a_Row, BMI_HW_AMC_SWITCHPORT_OPER))};
}

} // namespace

SWITCH_ORDER ParseSwitchOrder(const std::vector<std::string>& a_Words) {
    if (a_Words.size() != 3 || (a_Words[1] != "enable" && a_Words[1] != "disable"))
        throw USAGE_ERROR("switch: expected switch, or switch enable|disable PORT");
    const auto l_Port = ParseNumber(a_Words[2]);
    if (!l_Port || *l_Port < 1 || *l_Port > LAST_PORT)
        throw USAGE_ERROR("switch: PORT '" + a_Words[2] + "': expected a port from 1 to " + std::to_string(LAST_PORT));
    return {static_cast<int>(*l_Port), a_Words[1] == "enable"};
}

bool SwitchTable(SESSION& a_Session, bool a_Color, std::string& a_Text) {
    int l_Result = 0;
    const auto l_Table = a_Session.Table(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, l_Result);
    std::vector<std::vector<std::string>> l_Lines = {PORT_HEADING};
    bool l_AllKnown = l_Result == SUCCESS;
    for (int i = 0; l_Table != nullptr && i < l_Table->GetSize(); ++i) {
        const CBMIParams& l_Row = *l_Table->Get(i);
        const int32_t l_Link = IntegerOf(l_Row, BMI_HW_AMC_SWITCHPORT_OPER);
        l_AllKnown = l_AllKnown && (l_Link == LINK_UP || l_Link == LINK_DOWN);
        l_Lines.push_back(PortLine(l_Row));
    }
    const bool l_HasPorts = l_Lines.size() > 1;
    a_Text += l_HasPorts ? AlignedTable(l_Lines, a_Color) : "no switch port: a blade without DSPs serves none\n";
    return l_HasPorts && l_AllKnown;
}

bool SetSwitchPort(SESSION& a_Session, const SWITCH_ORDER& a_Order, bool a_Color, std::string& a_Text,
                   std::string& a_Remarks) {
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, a_Order.m_Port);
    CBMIParams l_Values;
    l_Values.Add(Integer(BMI_HW_AMC_SWITCHPORT_ADMIN, a_Order.m_Enable ? ENABLED : DISABLED, false));
    const int l_Result = a_Session.WriteRow(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, l_Keys, l_Values);
    if (l_Result != SUCCESS) {
        a_Remarks += "port " + std::to_string(a_Order.m_Port) + ": " +
                     (l_Result == NO_ROW ? "the blade serves no such port" : "the switch or the storage refused it") +
                     "; the adaptor answered " + ResultText(l_Result) + "\n";
        return false;
    }
    int l_ReadResult = 0;
    if (const auto l_Row = a_Session.Row(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, l_Keys, l_ReadResult);
        l_Row != nullptr && l_ReadResult == SUCCESS)
        a_Text += AlignedTable({PORT_HEADING, PortLine(*l_Row)}, a_Color);
    return true;
}

} // namespace BMHOST
