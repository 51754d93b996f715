// `bmhost switch`: the external ports of the blade's Ethernet switch, and one of them enabled or disabled.
#pragma once

#include <string>
#include <vector>

namespace bmhost {

class Session;

struct SwitchOrder {
    int m_port = 0; ///< 1 to 4
    bool m_enable = false;
};

/// From the words `switch enable|disable PORT`. Throws UsageError saying what was expected.
SwitchOrder ParseSwitchOrder(const std::vector<std::string>& words);

/// Between init and fin: appends the ports as an aligned table. True when there are any and each one's link is known.
bool SwitchTable(Session& session, bool color, std::string& text);

/// Between init and fin: appends the port as it is read afterwards to `text`, or a line to `remarks` that says why
/// it was refused. True when the port was set and its state stored.
bool SetSwitchPort(Session& session, const SwitchOrder& order, bool color, std::string& text, std::string& remarks);

} // namespace bmhost
