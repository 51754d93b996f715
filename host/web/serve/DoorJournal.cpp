// The web door's log, and the orders that it passes on, as entries of the journal.
#include "host/web/serve/DoorJournal.h"

#include "host/web/DoorLog.h"

#include "bm_dev/ByteText.h"
#include "bm_dev/HostLog.h"

#include <exception>
#include <unistd.h>

namespace bmhost {

namespace {

using nlohmann::ordered_json;

constexpr unsigned FirstRefusal = 400;

std::string TextIn(const ordered_json& fields, const char* name) {
    const auto found = fields.is_object() ? fields.find(name) : fields.end();
    return found != fields.end() && found->is_string() ? bm_dev::Printable(found->get<std::string>(), "") : "";
}

std::optional<int32_t> NumberIn(const ordered_json& fields, const char* name) {
    const auto found = fields.is_object() ? fields.find(name) : fields.end();
    if (found == fields.end() || !found->is_number_integer()) return std::nullopt;
    return found->get<int32_t>();
}

} // namespace

JournalNote NoteOfAnswer(const std::string& account, const HostAnswer& answer) {
    const ordered_json& body = answer.m_body;
    const ordered_json none;
    JournalNote note;
    note.m_asker = account;
    note.m_good = answer.m_status < FirstRefusal;
    note.m_bay = NumberIn(body, "bay");
    if (note.m_good) {
        note.m_operation = TextIn(body, "order");
        if (note.m_operation.empty()) note.m_operation = TextIn(body, "op"); // a call
        note.m_result = NumberIn(body, "result");
        if (const auto good = body.find("good"); good != body.end() && good->is_boolean()) note.m_good = *good;
    }
    const ordered_json& error = body.is_object() && body.contains("error") ? body.at("error") : none;
    if (note.m_operation.empty()) note.m_operation = TextIn(error, "operation");
    note.m_text = "order" + (note.m_operation.empty() ? "" : " " + note.m_operation) + " of " + account + ": ";
    if (note.m_result) {
        note.m_text += "result " + std::to_string(*note.m_result);
    } else {
        note.m_text += "answered with " + std::to_string(answer.m_status);
        if (const std::string reason = TextIn(error, "reason"); !reason.empty()) note.m_text += ", " + reason;
    }
    return note;
}

DoorJournal::DoorJournal() {
    if (!LeadsToJournal(STDERR_FILENO)) return;
    bm_dev::LogToConsole(false);
    m_ear.emplace([this](int level, const std::string& component, const std::string& text) {
        m_log.Line(level, component, text);
    });
}

void DoorJournal::Tell(const std::string& account, const HostAnswer& answer) const {
    try {
        const JournalNote note = NoteOfAnswer(account, answer);
        if (m_ear) {
            m_log.Note(note);
        } else {
            LogDoor(note.m_text);
        }
    } catch (const std::exception&) { // no memory for an entry: the answer matters more
        return;
    }
}

} // namespace bmhost
