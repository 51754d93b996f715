// `bmhost firmware`: an upgrade that is started and followed to its end, and those that there were.
#pragma once

#include "host/orders/Order.h"
#include "host/picture/StatusNames.h"

#include <optional>
#include <string>
#include <vector>

namespace bmhost {

/// The words of `firmware update` as they are typed.
struct FirmwareWords {
    std::string m_target;
    std::optional<int> m_bay;
    std::string m_file;
    bool m_dryRun = false;
    bool m_yes = false;
};

struct FirmwareOrder {
    UpgradeRow m_place{};
    std::string m_file; ///< absolute
};

/// Looks at the file: it has to be a regular one that can be read and is not empty. Throws UsageError.
FirmwareOrder FirmwareOrderOf(const FirmwareWords& words);

/// The same for the blade's host; the path is that of the client's file.
Order OrderOf(const FirmwareWords& words);

/// The history for people, the last upgrade in a line of its own; "no upgrade yet" where none was.
/// @param followed  a resident host, whose history it is, waits for the end of one that is in progress
std::string HistoryText(const std::vector<UpgradeFacts>& upgrades, bool followed);

} // namespace bmhost
