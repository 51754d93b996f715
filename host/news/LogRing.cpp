// The last lines of the log, for those who ask at the socket.
#include "host/news/LogRing.h"

#include "bm_dev/ByteText.h"

#include <algorithm>

namespace bmhost {

void LogRing::Add(WallTime time, int level, const std::string& component, const std::string& text) {
    constexpr const char* cut = " …";
    std::string texts;
    texts.reserve(component.size() + 1 + std::min(text.size(), MostBytes + 4));
    texts.append(component).push_back('\0');
    texts.append(text, 0, MostBytes);
    if (text.size() > MostBytes) texts += cut;
    const std::lock_guard lock(m_guard);
    m_bytes += texts.size();
    m_lines.push_back({time, level, std::move(texts)});
    while (m_lines.size() > Most || m_bytes > MostBytesOfAll) {
        m_bytes -= m_lines.front().m_texts.size();
        m_lines.pop_front();
    }
}

std::vector<nlohmann::ordered_json> LogRing::Last(std::size_t most) const {
    std::vector<Line> lines;
    {
        const std::lock_guard lock(m_guard);
        const std::size_t count = std::min(most, m_lines.size());
        lines.assign(m_lines.end() - static_cast<std::ptrdiff_t>(count), m_lines.end());
    }
    std::vector<nlohmann::ordered_json> rows;
    rows.reserve(lines.size());
    for (const Line& line : lines) {
        const std::size_t end = line.m_texts.find('\0');
        // Not every line is UTF-8; those that are stay as they are.
        const auto shown = [](std::string bytes) {
            for (std::size_t i = 0; i < bytes.size();) {
                const int length = bm_dev::Utf8Length(std::string_view(bytes).substr(i));
                if (length <= 0) return bm_dev::Utf8OfBytes(bytes);
                i += static_cast<std::size_t>(length);
            }
            return bytes;
        };
        rows.push_back({{"time", Rfc3339(line.m_time)},
                        {"level", line.m_level},
                        {"component", shown(line.m_texts.substr(0, end))},
                        {"text", shown(line.m_texts.substr(end + 1))}});
    }
    return rows;
}

} // namespace bmhost
