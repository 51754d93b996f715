// The log and what becomes of calls, as entries of the system's journal.
#include "host/service/JournalLog.h"

#include "host/picture/StatusNames.h"

#include <sys/stat.h>
#include <sys/uio.h>
#include <systemd/sd-journal.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <syslog.h>
#include <utility>

namespace bmhost {

namespace {

void SendToJournal(const std::vector<std::string>& fields) {
    std::vector<iovec> pieces;
    pieces.reserve(fields.size());
    for (const std::string& field : fields)
        pieces.push_back({const_cast<char*>(field.data()), field.size()}); // the journal only reads
    ::sd_journal_sendv(pieces.data(), static_cast<int>(pieces.size()));
}

// Whoever is asked by a door knows account and address, the account alone, or neither.
void AddAsker(std::vector<std::string>& fields, const std::string& asker) {
    if (asker.empty()) return;
    fields.push_back("ASKER=" + asker);
    const auto account = asker.find(" (");
    if (account == std::string::npos) return;
    fields.push_back("ACCOUNT=" + asker.substr(0, account));
    const auto address = account + std::string_view(" (").size();
    if (asker.compare(address, std::string_view("uid ").size(), "uid ") == 0) return;
    fields.push_back("ADDRESS=" + asker.substr(address, asker.find(')', address) - address));
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

JournalLog::JournalLog(const std::string& program) : JournalLog(program, SendToJournal) {}

JournalLog::JournalLog(const std::string& program, Sender sender)
    : m_identifier("SYSLOG_IDENTIFIER=" + program),
      m_sender(std::move(sender)) {}

// The levels of the log are those of syslog, and so are the journal's priorities.
void JournalLog::Line(int level, const std::string& component, const std::string& text) const {
    Send({"MESSAGE=[" + component + "] " + text, Priority(level), m_identifier, "COMPONENT=" + component});
}

void JournalLog::Note(const JournalNote& note) const {
    std::vector<std::string> fields = {"MESSAGE=" + note.m_text, Priority(note.m_good ? LOG_NOTICE : LOG_WARNING),
                                       m_identifier, "OPERATION=" + note.m_operation};
    if (note.m_bay) fields.push_back("BAY=" + std::to_string(*note.m_bay));
    if (note.m_result) fields.push_back("RESULT=" + std::to_string(*note.m_result));
    AddAsker(fields, note.m_asker);
    Send(fields);
}

void JournalLog::Send(const std::vector<std::string>& fields) const {
    try {
        m_sender(fields);
    } catch (...) { // an entry that cannot be written must not end the caller
    }
}

} // namespace bmhost
