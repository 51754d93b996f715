// The lines of a file or of standard input, each with one call.
#include "host/session/Script.h"

#include "host/output/Redirect.h"
#include "host/words/Error.h"

#include <cerrno>
#include <cstring>

namespace bmhost {

namespace {

bool IsBlank(char letter) {
    return letter == ' ' || letter == '\t' || letter == '\r';
}

} // namespace

std::vector<std::string> SplitWords(const std::string& line) {
    std::vector<std::string> words;
    bool inWord = false;
    char quote = '\0';
    for (const char next : line) {
        if (quote != '\0') {
            if (next == quote) {
                quote = '\0';
            } else {
                words.back() += next;
            }
            continue;
        }
        if (IsBlank(next)) {
            inWord = false;
            continue;
        }
        if (next == '#' && !inWord) break;
        if (!inWord) words.emplace_back();
        inWord = true;
        if (next == '\'' || next == '"') {
            quote = next;
        } else {
            words.back() += next;
        }
    }
    if (quote != '\0') throw UsageError(std::string("a quote ") + quote + " does not end");
    return words;
}

Script::Script(const std::string& file)
    : m_name(file == "-" ? "standard input" : file),
      m_file(file == "-" ? fdopen(TakeStandardInput(), "r") : fopen(file.c_str(), "re")) {
    if (m_file == nullptr) throw UsageError("script " + file + ": " + std::strerror(errno));
}

bool Script::NextLine(std::string& line) {
    line.clear();
    int next = 0;
    while ((next = getc(m_file.get())) != EOF && next != '\n')
        line += static_cast<char>(next);
    if (ferror(m_file.get()) != 0) throw UsageError("script " + m_name + ": " + std::strerror(errno));
    return next != EOF || !line.empty();
}

bool Script::Run(const std::function<bool(const std::vector<std::string>& words)>& line) {
    bool allGood = true;
    std::string text;
    for (int number = 1; NextLine(text); ++number) {
        try {
            const auto words = SplitWords(text);
            if (!words.empty()) allGood = line(words) && allGood;
        } catch (const UsageError& error) {
            throw UsageError(m_name + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    return allGood;
}

} // namespace bmhost
