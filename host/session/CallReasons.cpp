// The errors that are logged while a call is made.
#include "host/session/CallReasons.h"

#include "host/words/Situations.h"

#include "bm/Log.h"

namespace bmhost {

CallReasons::CallReasons()
    : m_ear([this](int level, const std::string&, const std::string& text) {
          if (level > BM_LOG_ERROR || text.empty()) return;
          const std::lock_guard lock(m_guard);
          if (!m_texts.empty() && m_texts.back() == text) return;
          m_texts.push_back(text);
          if (m_texts.size() > MostKept) m_texts.pop_front();
      }) {}

std::vector<std::string> CallReasons::Texts() const {
    const std::lock_guard lock(m_guard);
    return TellingLines({m_texts.begin(), m_texts.end()}, Most);
}

} // namespace bmhost
