// `bmhost why`: what is wrong with the blade, with cause, evidence and cure.
#include "host/views/Why.h"

#include "host/output/TextOutput.h"
#include "host/picture/Causes.h"

#include <string_view>

namespace bmhost {

namespace {

constexpr std::size_t Indent = 12; // of what stands behind "  evidence: "
constexpr std::size_t LeastWidth = 40;

// Broken at blanks, where the terminal has a width; later lines are indented as the first one's text.
std::string Broken(std::string_view text, const Style& style) {
    std::string broken;
    const auto width = static_cast<std::size_t>(style.m_width);
    const std::size_t most = style.m_wide || width < LeastWidth ? std::string_view::npos : width - Indent;
    while (text.size() > most) {
        std::size_t end = text.rfind(' ', most);
        if (end == std::string_view::npos || end == 0) end = text.find(' ', most);
        if (end == std::string_view::npos) break;
        broken += std::string(text.substr(0, end)) + "\n" + std::string(Indent, ' ');
        text.remove_prefix(end + 1);
    }
    return broken + std::string(text);
}

std::string Paragraph(std::string title, std::string_view text, const Style& style) {
    title.resize(Indent, ' ');
    return title + Broken(PrintableText(std::string(text)), style) + "\n";
}

std::string FaultText(const Fault& fault, const Style& style) {
    const std::string head = PrintableText(fault.m_place + ": " + fault.m_what);
    std::string text = (style.m_color ? "\033[91m" + head + "\033[0m" : head) + "\n";
    text += Paragraph("  cause:", fault.m_cause, style);
    std::string title = "  evidence:";
    for (const std::string& evidence : fault.m_evidence) {
        text += Paragraph(title, evidence, style);
        title.clear();
    }
    return text + Paragraph("  cure:", fault.m_cure, style);
}

} // namespace

// A resident host has found them already, and may know more than the picture shows.
std::vector<Fault> FaultsIn(const Picture& picture) {
    return picture.m_faults.empty() ? FaultsOf(picture) : picture.m_faults;
}

bool WhyIsGood(const Picture& picture) {
    return FaultsIn(picture).empty();
}

std::string WhyText(const Picture& picture, const Style& style) {
    std::string text;
    for (const Fault& fault : FaultsIn(picture))
        text += (text.empty() ? "" : "\n") + FaultText(fault, style);
    return text.empty() ? "nothing is wrong\n" : text;
}

} // namespace bmhost
