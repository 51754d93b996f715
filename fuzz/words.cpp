// What people type: the words of a script's line, and the values of a call in them. An input is such a line; its own
// lines, if it has several, are words to be put in quotes.
#include "support/Require.h"

#include "host/api/CallJson.h"
#include "host/client/WireRows.h"
#include "host/http/Reply.h"
#include "host/session/Script.h"
#include "host/words/Call.h"
#include "host/words/Error.h"
#include "host/words/Value.h"

#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using namespace fuzzing;
using bmhost::Operation;
using nlohmann::json;

namespace {

std::optional<std::vector<std::string>> WordsOf(const std::string& line) {
    try {
        return bmhost::SplitWords(line);
    } catch (const bmhost::UsageError&) {
        return std::nullopt;
    }
}

// Who writes the words in quotes gets the same words.
void CheckQuoted(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        const bool hasDouble = word.find('"') != std::string::npos;
        if (hasDouble && word.find('\'') != std::string::npos) return; // no quotes for this one
        const char quote = hasDouble ? '\'' : '"';
        line += quote + word + quote + " ";
    }
    Require(WordsOf(line) == words, "other words in quotes: " + line);
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::istringstream lines(text);
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);)
        all.push_back(line);
    return all;
}

void CheckNumber(const std::string& text) {
    const auto number = bmhost::ParseNumber(text);
    if (number)
        Require(bmhost::ParseNumber(std::to_string(*number)) == number,
                text + " is another number when it is written again");
}

json JsonOfCall(const bmhost::Call& call) {
    json made = {{"op", bmhost::OperationName(call.m_operation)},
                 {"group", call.m_group},
                 {"keys", bmhost::WireRow(call.m_keys)}};
    if (call.m_operation == Operation::Write) made["values"] = bmhost::WireRow(call.m_values);
    return made;
}

// The command line and the socket mean the same call.
void CheckCall(Operation operation, const std::vector<std::string>& words) {
    bmhost::Call call;
    try {
        call = bmhost::ParseGroupCall(operation, words.front(), {words.begin() + 1, words.end()}, "usage");
    } catch (const bmhost::UsageError&) {
        return;
    }
    const json sent = JsonOfCall(call);
    try {
        const json again = JsonOfCall(bmhost::CallOf(bmhost::JsonOf(sent.dump())));
        Require(sent == again, "the socket reads another call: " + sent.dump() + " and " + again.dump());
    } catch (const bmhost::Refusal& refusal) {
        Require(false, "the socket takes no " + sent.dump() + ": " + refusal.what());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string line(reinterpret_cast<const char*>(data), size);
    CheckQuoted(LinesOf(line));
    const auto words = WordsOf(line);
    if (!words) return 0;
    CheckQuoted(*words);
    for (const std::string& word : *words)
        CheckNumber(word);
    if (words->empty()) return 0;
    for (const Operation operation : {Operation::Read, Operation::Table, Operation::Write})
        CheckCall(operation, *words);
    return 0;
}
