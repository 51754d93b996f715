// A host's logger that reads every line to its end and forgets it.
#pragma once

#include "bm/Log.h"
#include "ipmi/model/IPMI_Model.h"

#include <cstring>

namespace fuzzing {

/// While it lives it is the logger of domain thread and probe. With traces, every line is formatted: a text without its
/// end is seen by the sanitizer.
class SilentLog final : public CBaseOsLog {
public:
    explicit SilentLog(bool traces) : m_levelBefore(BM_LOG_LEVEL) {
        BM_LOG_LEVEL = traces ? BM_LOG_ERROR : 0;
        BM_ADAPTOR::g_Logger2 = this;
    }
    SilentLog(const SilentLog&) = delete;
    SilentLog& operator=(const SilentLog&) = delete;
    ~SilentLog() {
        BM_ADAPTOR::g_Logger2 = nullptr;
        BM_LOG_LEVEL = m_levelBefore;
    }

    void Log(int, const char*, const char* text) override { m_letters = std::strlen(text); }

private:
    const int m_levelBefore;
    volatile std::size_t m_letters = 0;
};

} // namespace fuzzing
