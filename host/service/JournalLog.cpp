// The log and what becomes of calls, as entries of the system's journal.
#include "host/service/JournalLog.h"

#include "host/picture/StatusNames.h"

#include <sys/stat.h>
#include <sys/uio.h>
#include <systemd/sd-journal.h>

#include <algorithm>
#include <cstdlib>
#include <syslog.h>
#include <utility>

namespace bmhost {

namespace {

constexpr char Identifier[] = "SYSLOG_IDENTIFIER=bmhostd";

void SendToJournal(const std::vector<std::string>& fields) {
    std::vector<iovec> pieces;
    pieces.reserve(fields.size());
    for (const std::string& field : fields)
        pieces.push_back({const_cast<char*>(field.data()), field.size()}); // the journal only reads
    ::sd_journal_sendv(pieces.data(), static_cast<int>(pieces.size()));
}

std::string Priority(int level) {
    return "PRIORITY=" + std::to_string(std::clamp(level, LOG_EMERG, LOG_DEBUG));
}

} // namespace

bool LeadsToJournal(int descriptor) {
    const char* const stream = std::getenv("JOURNAL_STREAM");
    struct stat file {};
    if (stream == nullptr || ::fstat(descriptor, &file) != 0) return false;
    return stream == std::to_string(file.st_dev) + ":" + std::to_string(file.st_ino);
}

JournalNote NoteOfUpgrade(const UpgradeFacts& upgrade) {
    JournalNote note;
    note.m_operation = "firmware-update";
    note.m_text = "firmware upgrade of " + UpgradeTargetText({upgrade.m_target, upgrade.m_bay, upgrade.m_state}) +
                  ": " + std::string(UpgradeStateName(upgrade.m_state));
    if (upgrade.m_target == UpgradeOfModule) note.m_bay = upgrade.m_bay;
    note.m_result = upgrade.m_state;
    note.m_good = upgrade.m_state == UpgradeIsDone;
    note.m_asker = upgrade.m_asker;
    return note;
}

JournalLog::JournalLog() : JournalLog(SendToJournal) {}

JournalLog::JournalLog(Sender sender) : m_sender(std::move(sender)) {}

// The levels of the log are those of syslog, and so are the journal's priorities.
void JournalLog::Line(int level, const std::string& component, const std::string& text) const {
    Send({"MESSAGE=[" + component + "] " + text, Priority(level), Identifier, "COMPONENT=" + component});
}

void JournalLog::Note(const JournalNote& note) const {
    std::vector<std::string> fields = {"MESSAGE=" + note.m_text, Priority(note.m_good ? LOG_NOTICE : LOG_WARNING),
                                       Identifier, "OPERATION=" + note.m_operation};
    if (note.m_bay) fields.push_back("BAY=" + std::to_string(*note.m_bay));
    if (note.m_result) fields.push_back("RESULT=" + std::to_string(*note.m_result));
    if (!note.m_asker.empty()) fields.push_back("ASKER=" + note.m_asker);
    Send(fields);
}

void JournalLog::Send(const std::vector<std::string>& fields) const {
    try {
        m_sender(fields);
    } catch (...) { // an entry that cannot be written must not end the caller
    }
}

} // namespace bmhost
