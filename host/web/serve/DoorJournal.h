// The web door's log, and the orders that it passes on, as entries of the journal.
#pragma once

#include "host/client/HostClient.h"
#include "host/service/JournalLog.h"
#include "host/session/LogEar.h"

#include <optional>
#include <string>

namespace bmhost {

/// What an order is to the journal, by the host's answer.
/// @param account  for whom: "anna (192.0.2.7)"
JournalNote NoteOfAnswer(const std::string& account, const HostAnswer& answer);

/// Where standard error leads to the journal, log and orders become entries of their own, with fields; elsewhere they
/// are lines of the log. As long as the door serves.
class DoorJournal {
public:
    DoorJournal();

    /// The host has answered what was passed on. Any thread; throws nothing.
    void Tell(const std::string& account, const HostAnswer& answer) const;

private:
    JournalLog m_log{"bmhost-web"};
    std::optional<LogEar> m_ear; // last, since it uses the log
};

} // namespace bmhost
