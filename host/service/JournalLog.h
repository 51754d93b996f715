// The log and what becomes of calls, as entries of the system's journal: with priorities, and with fields by which they
// are found.
#pragma once

#include "host/picture/Picture.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace bmhost {

/// Whether this descriptor leads to the journal, by what the service manager says in JOURNAL_STREAM.
bool LeadsToJournal(int descriptor);

/// A call, an order or an upgrade that has ended, or something else worth finding again.
struct JournalNote {
    std::string m_operation = {};         ///< OPERATION: "start", "led-set", "write 0x30200"
    std::string m_text = {};              ///< MESSAGE
    std::optional<int32_t> m_bay = {};    ///< BAY, where it concerns one
    std::optional<int32_t> m_result = {}; ///< RESULT: the adaptor's; of an upgrade's end, its state
    bool m_good = true;                   ///< otherwise it is a warning
    /// ASKER: who wanted it, "uid 0, process 4711"; empty: nobody outside. Of "anna (192.0.2.7)", with or without more
    /// after it, ACCOUNT and ADDRESS, too.
    std::string m_asker = {};
};

/// Of one that has ended: found by the operation and the bay by which the order that began it is found.
JournalNote NoteOfUpgrade(const UpgradeFacts& upgrade);

/// Any thread, several at once; nothing is thrown, and nothing is waited for but the journal's socket.
class JournalLog {
public:
    /// Takes the fields of one entry, each "NAME=value".
    using Sender = std::function<void(const std::vector<std::string>& fields)>;

    /// Sends to the journal.
    /// @param program  whose entries these are
    explicit JournalLog(const std::string& program);
    JournalLog(const std::string& program, Sender sender);

    /// A line of the log; its level is the entry's priority.
    void Line(int level, const std::string& component, const std::string& text) const;
    void Note(const JournalNote& note) const;

private:
    void Send(const std::vector<std::string>& fields) const;

    const std::string m_identifier;
    Sender m_sender;
};

} // namespace bmhost
