// Calls from a file or from standard input, one a line, in one process.
#include "host/session/Script.h"

#include "host/output/Redirect.h"
#include "host/session/Session.h"
#include "host/words/Error.h"

#include <cerrno>
#include <cstring>

namespace BMHOST {

namespace {

bool IsBlank(char a_Char) {
    return a_Char == ' ' || a_Char == '\t' || a_Char == '\r';
}

} // namespace

std::vector<std::string> SplitWords(const std::string& a_Line) {
    std::vector<std::string> l_Words;
    bool l_InWord = false;
    char l_Quote = '\0';
    for (const char l_Char : a_Line) {
        if (l_Quote != '\0') {
            if (l_Char == l_Quote) {
                l_Quote = '\0';
            } else {
                l_Words.back() += l_Char;
            }
            continue;
        }
        if (IsBlank(l_Char)) {
            l_InWord = false;
            continue;
        }
        if (l_Char == '#' && !l_InWord) break;
        if (!l_InWord) l_Words.emplace_back();
        l_InWord = true;
        if (l_Char == '\'' || l_Char == '"') {
            l_Quote = l_Char;
        } else {
            l_Words.back() += l_Char;
        }
    }
    if (l_Quote != '\0') throw USAGE_ERROR(std::string("a quote ") + l_Quote + " does not end");
    return l_Words;
}

SCRIPT::SCRIPT(const std::string& a_File)
    : m_Name(a_File == "-" ? "standard input" : a_File),
      m_File(a_File == "-" ? fdopen(TakeStandardInput(), "r") : fopen(a_File.c_str(), "re")) {
    if (m_File == nullptr) throw USAGE_ERROR("script " + a_File + ": " + std::strerror(errno));
}

bool SCRIPT::NextLine(std::string& a_Line) {
    a_Line.clear();
    int l_Char = 0;
    while ((l_Char = getc(m_File.get())) != EOF && l_Char != '\n')
        a_Line += static_cast<char>(l_Char);
    if (ferror(m_File.get()) != 0) throw USAGE_ERROR("script " + m_Name + ": " + std::strerror(errno));
    return l_Char != EOF || !a_Line.empty();
}

bool SCRIPT::Run(SESSION& a_Session) {
    bool l_AllGood = true;
    std::string l_Line;
    for (int l_Number = 1; NextLine(l_Line); ++l_Number) {
        CALL l_Call;
        try {
            const auto l_Words = SplitWords(l_Line);
            if (l_Words.empty()) continue;
            l_Call = ParseCall(l_Words);
        } catch (const USAGE_ERROR& l_Error) {
            throw USAGE_ERROR(m_Name + ":" + std::to_string(l_Number) + ": " + l_Error.what());
        }
        l_AllGood = a_Session.Run(l_Call) && l_AllGood;
    }
    return l_AllGood;
}

} // namespace BMHOST
