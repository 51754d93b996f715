// The situations of docs/operations.md: which one a log tells of, and how a page shows them.
#include "host/words/Situations.h"

#include "host/words/SituationTable.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace bmhost {

namespace {

constexpr std::string_view Conversions = "diouxXcspeEfFgGaA";

/// What stands between the conversions of a format; one piece more than it has conversions.
std::vector<std::string> PiecesOf(std::string_view format) {
    std::vector<std::string> pieces(1);
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') {
            pieces.back() += format[i];
        } else if (i + 1 < format.size() && format[i + 1] == '%') {
            pieces.back() += format[++i];
        } else {
            i = std::min(format.find_first_of(Conversions, i + 1), format.size());
            pieces.emplace_back();
        }
    }
    return pieces;
}

// The log takes line ends off the end of a text.
std::string_view WithoutLineEnd(std::string_view text) {
    while (text.ends_with('\n'))
        text.remove_suffix(1);
    return text;
}

bool HasLine(const Situation& situation, std::string_view line) {
    return std::any_of(situation.m_lines.begin(), situation.m_lines.end(),
                       [=](std::string_view format) { return !format.empty() && IsMadeBy(line, format); });
}

// What a call looked for and did not find is in every start's log.
bool Tells(const std::string& line, const Situation& cause) {
    const Situation* const of = SituationOf({line});
    return of != nullptr && (of->m_chapter != Chapter::Calls || cause.m_chapter == Chapter::Calls);
}

// As a page quotes it: "…" for what differs from line to line.
std::string AsQuoted(std::string_view format) {
    std::string text;
    for (const std::string& piece : PiecesOf(WithoutLineEnd(format)))
        text += (text.empty() ? "" : "…") + piece;
    return "\"" + text + "\"";
}

std::string ShownOf(const Situation& situation) {
    std::string text;
    for (const std::string_view line : situation.m_lines) {
        if (!line.empty()) text += (text.empty() ? "" : ", ") + AsQuoted(line);
    }
    if (situation.m_shows.empty()) return text;
    return text + (text.empty() ? "" : "; ") + std::string(situation.m_shows);
}

} // namespace

std::span<const Situation> Situations() {
    static const std::vector<Situation> all = [] {
        std::vector<Situation> joined;
        for (const auto part : {StartSituations(), ServiceSituations()})
            joined.insert(joined.end(), part.begin(), part.end());
        return joined;
    }();
    return all;
}

bool IsMadeBy(std::string_view line, std::string_view format) {
    line = WithoutLineEnd(line);
    const std::vector<std::string> pieces = PiecesOf(WithoutLineEnd(format));
    if (pieces.size() == 1) return line == pieces.front();
    if (!line.starts_with(pieces.front())) return false;
    line.remove_prefix(pieces.front().size());
    for (std::size_t i = 1; i + 1 < pieces.size(); ++i) {
        const std::size_t found = line.find(pieces[i]);
        if (found == std::string_view::npos) return false;
        line.remove_prefix(found + pieces[i].size());
    }
    return line.ends_with(pieces.back());
}

const Situation& SituationOf(Sign sign) {
    for (const Situation& situation : Situations()) {
        if (sign != Sign::Log && situation.m_sign == sign) return situation;
    }
    throw std::logic_error("a sign without a situation");
}

const Situation* SituationOf(const std::vector<std::string>& lines) {
    for (const Situation& situation : Situations()) {
        if (std::any_of(lines.begin(), lines.end(), [&](const std::string& line) { return HasLine(situation, line); }))
            return &situation;
    }
    return nullptr;
}

std::vector<std::string> TellingLines(const std::vector<std::string>& lines, std::size_t most) {
    std::vector<std::string> once;
    for (const std::string& line : lines) {
        if (std::find(once.begin(), once.end(), line) == once.end()) once.push_back(line);
    }
    const Situation* const cause = SituationOf(once);
    if (cause != nullptr) std::erase_if(once, [=](const std::string& line) { return !Tells(line, *cause); });
    if (once.size() <= most) return once;
    std::vector<std::string> last(once.end() - static_cast<std::ptrdiff_t>(most), once.end());
    const auto isCause = [=](const std::string& line) { return HasLine(*cause, line); };
    if (cause != nullptr && std::none_of(last.begin(), last.end(), isCause))
        last.front() = *std::find_if(once.begin(), once.end(), isCause);
    return last;
}

std::optional<Advice> AdviceFor(const std::vector<std::string>& reasons) {
    const Situation* const situation = SituationOf(reasons);
    if (situation == nullptr) return std::nullopt;
    return Advice{std::string(situation->m_cause), std::string(situation->m_cure)};
}

Advice AdviceForSilentStart() {
    const Situation& situation = SituationOf(Sign::StartWithoutLine);
    return {std::string(situation.m_cause), std::string(situation.m_cure)};
}

std::string AdviceText(const Advice& advice) {
    return "  cause: " + advice.m_cause + "\n  cure:  " + advice.m_cure + "\n";
}

std::string CureOf(const std::vector<std::string>& reasons) {
    const auto advice = AdviceFor(reasons);
    return advice ? advice->m_cure : "";
}

std::string ReasonsText(const std::vector<std::string>& reasons) {
    std::string text;
    for (std::string line : TellingLines(reasons)) {
        std::replace(line.begin(), line.end(), '\n', ' ');
        text += "  log:   " + line + "\n";
    }
    if (const auto advice = AdviceFor(reasons)) text += AdviceText(*advice);
    return text;
}

std::string TableOfPage(Chapter chapter) {
    std::string table = "| what you see | cause | cure |\n|---|---|---|\n";
    for (const Situation& situation : Situations()) {
        if (situation.m_chapter != chapter) continue;
        table += "| " + ShownOf(situation) + " | " + std::string(situation.m_cause) + " | " +
                 std::string(situation.m_cure) + " |\n";
    }
    return table;
}

} // namespace bmhost
