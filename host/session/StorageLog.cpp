// What the storage tells in the log when it refuses something.
#include "host/session/StorageLog.h"

#include "bm/Log.h"
#include "bm_dev/HostLog.h"

#include <string_view>

namespace BMHOST {

STORAGE_LOG::STORAGE_LOG() {
    BM_PLATFORM::LogToListener([this](int a_Level, const std::string& a_Component, const std::string& a_Text) {
        constexpr std::string_view TITLE = "CDataStorage :: ";
        if (a_Level > BM_LOG_ERROR || a_Component != "Storage") return;
        const std::lock_guard l_Lock(m_Guard);
        ++m_Count;
        m_Last = a_Text.starts_with(TITLE) ? a_Text.substr(TITLE.size()) : a_Text;
    });
}

STORAGE_LOG::~STORAGE_LOG() {
    BM_PLATFORM::LogToListener({});
}

std::size_t STORAGE_LOG::Count() const {
    const std::lock_guard l_Lock(m_Guard);
    return m_Count;
}

std::string STORAGE_LOG::Last() const {
    const std::lock_guard l_Lock(m_Guard);
    return m_Last;
}

} // namespace BMHOST
