// The firmware upgrades of a blade, on disk.
#pragma once

#include "host/picture/Picture.h"

#include <cstddef>
#include <string>
#include <vector>

namespace bmhost {

/// "upgrades.jsonl" in the folder: a JSON object a line, two for an upgrade, of its beginning and of its end.
class UpgradeHistory {
public:
    /// How many upgrades are kept.
    static constexpr std::size_t Most = 1000;

    explicit UpgradeHistory(const std::string& folder);

    /// Keeps what is known of an upgrade, in place of what was known of it before: the same target, begun at the same
    /// time. It is on the disk when this returns. Throws std::runtime_error naming file and reason.
    void Keep(const UpgradeFacts& upgrade) const;

    /// The upgrades, oldest first; none where there is no file. A line that is none is skipped, with a remark. Throws
    /// std::runtime_error where the file cannot be read.
    std::vector<UpgradeFacts> Read(std::vector<std::string>& remarks) const;

private:
    void Shorten() const;

    std::string m_folder;
    std::string m_file;
};

} // namespace bmhost
