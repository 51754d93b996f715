// `bmhost firmware`: an upgrade that is started and followed to its end.
#pragma once

#include "host/views/StatusNames.h"

#include <string>
#include <vector>

namespace bmhost {

class Session;

struct FirmwareOrder {
    bool m_show = false; ///< nothing but the state
    bool m_dryRun = false;
    UpgradeRow m_place{};
    std::string m_file; ///< absolute
};

/// From the words `firmware show` or `firmware update --target board|amc|rtm [--bay N] FILE [--dry-run]`. The file is
/// looked at: it has to be a regular one that can be read and is not empty. Throws UsageError.
FirmwareOrder ParseFirmwareOrder(const std::vector<std::string>& words);

/// What a dry run tells: the write that an upgrade would make.
std::string FirmwareDryRun(const FirmwareOrder& order);
/// Between init and fin. Appends target and state of the last upgrade. True when it did not fail.
bool ShowFirmware(Session& session, std::string& text);
/// Between init and fin. Starts the upgrade and follows it, telling so on the descriptor: on a terminal second by
/// second. True when it passed.
bool UpdateFirmware(Session& session, const FirmwareOrder& order, int output);

} // namespace bmhost
