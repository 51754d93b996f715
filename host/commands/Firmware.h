// `bmhost firmware`: an upgrade that is started and followed to its end.
#pragma once

#include "host/picture/StatusNames.h"

#include <optional>
#include <string>

namespace bmhost {

class Session;

/// The words of `firmware update` as they are typed.
struct FirmwareWords {
    std::string m_target;
    std::optional<int> m_bay;
    std::string m_file;
    bool m_dryRun = false;
};

struct FirmwareOrder {
    UpgradeRow m_place{};
    std::string m_file; ///< absolute
};

/// Looks at the file: it has to be a regular one that can be read and is not empty. Throws UsageError.
FirmwareOrder FirmwareOrderOf(const FirmwareWords& words);

/// What a dry run tells: the write that an upgrade would make.
std::string FirmwareDryRun(const FirmwareOrder& order);
/// Between init and fin. Appends target and state of the last upgrade. True when it did not fail.
bool ShowFirmware(Session& session, std::string& text);
/// Between init and fin. Starts the upgrade and follows it, telling so on the descriptor: on a terminal second by
/// second. True when it passed.
bool UpdateFirmware(Session& session, const FirmwareOrder& order, int output);

} // namespace bmhost
