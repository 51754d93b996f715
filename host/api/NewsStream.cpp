// One reader's way through the host's news, as Server-Sent Events.
#include "host/api/NewsStream.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

namespace bmhost {

namespace {

constexpr std::size_t PieceSize = 64 * 1024; // one event more may be in a piece

void AppendEvent(std::string& text, uint64_t id, std::string_view kind, std::string_view data) {
    text.append("id: ").append(std::to_string(id)).append("\nevent: ").append(kind).append("\ndata: ");
    for (const char letter : data) {
        text += letter;
        if (letter == '\n') text += "data: ";
    }
    text += "\n\n";
}

uint64_t NewestId(const ResidentHost& host) {
    const std::vector<News> all = host.NewsAfter(0);
    return all.empty() ? 0 : all.back().m_id;
}

} // namespace

NewsStream::NewsStream(const ResidentHost& host, std::optional<uint64_t> after, std::chrono::milliseconds commentTime)
    : m_host(host),
      m_commentTime(commentTime),
      m_nextComment(std::chrono::steady_clock::now() + commentTime) {
    if (after) {
        Begin(*after);
    } else {
        m_last = NewestId(host);
    }
    // The reader sees at once that it is connected.
    m_piece.insert(0, ": events after " + std::to_string(m_last) + "\n\n");
}

void NewsStream::Begin(uint64_t after) {
    m_last = after;
    if (after == 0) {
        const std::vector<News> all = m_host.NewsAfter(0);
        if (!all.empty()) m_last = all.front().m_id - 1;
        return;
    }
    const std::vector<News> known = m_host.NewsAfter(after - 1);
    if (!known.empty() && known.front().m_id <= after + 1) return;
    // Either the ring has moved on, or the id is an earlier host's: ids count from 1 with each start.
    const std::vector<News> all = known.empty() ? m_host.NewsAfter(0) : known;
    Lost(all.empty() ? 1 : all.front().m_id);
}

void NewsStream::Lost(uint64_t first) {
    AppendEvent(m_piece, first - 1, "lost",
                "{\"after\":" + std::to_string(m_last) + ",\"first\":" + std::to_string(first) + "}");
    m_last = first - 1;
}

std::size_t NewsStream::Next(char* to, std::size_t most) {
    if (m_done == m_piece.size()) {
        m_piece.clear();
        m_done = 0;
        if (!m_ended) Fill();
    }
    const std::size_t size = std::min(most, m_piece.size() - m_done);
    std::memcpy(to, m_piece.data() + m_done, size);
    m_done += size;
    if (m_done == m_piece.size()) {
        m_piece.clear();
        m_done = 0;
    }
    return size;
}

void NewsStream::Fill() {
    const auto now = std::chrono::steady_clock::now();
    const std::vector<News> news = m_host.NewsAfter(m_last);
    if (!news.empty() && news.front().m_id > m_last + 1) {
        Lost(news.front().m_id);
        m_ended = true;
    }
    for (const News& event : news) {
        if (m_ended || m_piece.size() >= PieceSize) break;
        AppendEvent(m_piece, event.m_id, event.m_kind, event.m_data);
        m_last = event.m_id;
    }
    if (m_piece.empty() && now >= m_nextComment) m_piece = ":\n\n";
    if (!m_piece.empty()) m_nextComment = now + m_commentTime;
}

} // namespace bmhost
