// A host logger that records every line.
#include "fake/RecordingLog.h"

#include <algorithm>

void RECORDING_LOG::Log(int a_Level, const char* a_Component, const char* a_Text) {
    const std::lock_guard l_Guard(m_Guard);
    m_Lines.push_back({a_Level, a_Component, a_Text});
}

std::vector<LOG_LINE> RECORDING_LOG::Lines() const {
    const std::lock_guard l_Guard(m_Guard);
    return m_Lines;
}

std::vector<std::string> RECORDING_LOG::Texts(std::string_view a_Beginning) const {
    std::vector<std::string> l_Texts;
    for (auto& l_Line : Lines()) {
        if (l_Line.m_Text.starts_with(a_Beginning)) l_Texts.push_back(std::move(l_Line.m_Text));
    }
    return l_Texts;
}

std::size_t RECORDING_LOG::Count(std::string_view a_Text, int a_Level) const {
    const auto l_Lines = Lines();
    return static_cast<std::size_t>(std::ranges::count_if(l_Lines, [&](const LOG_LINE& a_Line) {
        return a_Line.m_Text == a_Text && (a_Level < 0 || a_Line.m_Level == a_Level);
    }));
}

void RECORDING_LOG::Clear() {
    const std::lock_guard l_Guard(m_Guard);
    m_Lines.clear();
}
