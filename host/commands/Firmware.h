// `bmhost firmware`: an upgrade that is started and followed to its end.
#pragma once

#include "host/views/StatusNames.h"

#include <string>
#include <vector>

namespace BMHOST {

class SESSION;

struct FIRMWARE_ORDER {
    bool m_Show = false; ///< nothing but the state
    bool m_DryRun = false;
    UPGRADE_ROW m_Place{};
    std::string m_File; ///< absolute
};

/// From the words `firmware show` or `firmware update --target board|amc|rtm [--bay N] FILE [--dry-run]`. The file is
/// looked at: it has to be a regular one that can be read and is not empty. Throws USAGE_ERROR.
FIRMWARE_ORDER ParseFirmwareOrder(const std::vector<std::string>& a_Words);

/// What a dry run tells: the write that an upgrade would make.
std::string FirmwareDryRun(const FIRMWARE_ORDER& a_Order);
/// Between init and fin. Appends target and state of the last upgrade. True when it did not fail.
bool ShowFirmware(SESSION& a_Session, std::string& a_Text);
/// Between init and fin. Starts the upgrade and follows it, telling so on the descriptor: on a terminal second by
/// second. True when it passed.
bool UpdateFirmware(SESSION& a_Session, const FIRMWARE_ORDER& a_Order, int a_Output);

} // namespace BMHOST
