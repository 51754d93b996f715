// `bmhost switch`: the external ports of the blade's Ethernet switch, and one of them enabled or disabled.
#pragma once

#include <string>
#include <vector>

namespace BMHOST {

class SESSION;

struct SWITCH_ORDER {
    int m_Port = 0; ///< 1 to 4
    bool m_Enable = false;
};

/// From the words `switch enable|disable PORT`. Throws USAGE_ERROR saying what was expected.
SWITCH_ORDER ParseSwitchOrder(const std::vector<std::string>& a_Words);

/// Between init and fin: appends the ports as an aligned table. True when there are any and each one's link is known.
bool SwitchTable(SESSION& a_Session, bool a_Color, std::string& a_Text);

/// Between init and fin: appends the port as it is read afterwards to `a_Text`, or a line to `a_Remarks` that says why
/// it was refused. True when the port was set and its state stored.
bool SetSwitchPort(SESSION& a_Session, const SWITCH_ORDER& a_Order, bool a_Color, std::string& a_Text,
                   std::string& a_Remarks);

} // namespace BMHOST
