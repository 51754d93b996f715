// The lines that the storage logs when it refuses something.
#include "host/session/StorageLog.h"

#include "bm/Log.h"

#include <string_view>

namespace bmhost {

StorageLog::StorageLog()
    : m_ear([this](int level, const std::string& component, const std::string& text) {
          constexpr std::string_view title = "CDataStorage :: ";
          if (level > BM_LOG_ERROR || component != "Storage") return;
          const std::lock_guard lock(m_guard);
          ++m_count;
          m_last = text.starts_with(title) ? text.substr(title.size()) : text;
      }) {}

std::size_t StorageLog::Count() const {
    const std::lock_guard lock(m_guard);
    return m_count;
}

std::string StorageLog::Last() const {
    const std::lock_guard lock(m_guard);
    return m_last;
}

} // namespace bmhost
