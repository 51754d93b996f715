// A host logger that records every line, and the switch that turns traces on.
#pragma once

#include "bm/Log.h"

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

struct LOG_LINE {
    int m_Level = 0;
    std::string m_Component;
    std::string m_Text;

    bool operator==(const LOG_LINE&) const = default;
};

/// Thread-safe; what it returns are copies.
class RECORDING_LOG : public CBaseOsLog {
public:
    virtual ~RECORDING_LOG() = default;

    void Log(int a_Level, const char* a_Component, const char* a_Text) override;

    std::vector<LOG_LINE> Lines() const;
    /// The texts alone, in order: all, or those that begin with `a_Beginning`.
    std::vector<std::string> Texts(std::string_view a_Beginning = {}) const;
    /// How many lines have exactly this text; and this level, when one is given.
    std::size_t Count(std::string_view a_Text, int a_Level = -1) const;
    bool Has(std::string_view a_Text, int a_Level = -1) const { return Count(a_Text, a_Level) > 0; }
    void Clear();

private:
    mutable std::mutex m_Guard;
    std::vector<LOG_LINE> m_Lines;
};

/// Sets the host's log level, to 3 (traces are written) unless told otherwise, and puts the old one back.
class LOG_LEVEL_GUARD {
public:
    explicit LOG_LEVEL_GUARD(int a_Level = BM_LOG_ERROR) : m_Before(BM_LOG_LEVEL) { BM_LOG_LEVEL = a_Level; }
    LOG_LEVEL_GUARD(const LOG_LEVEL_GUARD&) = delete;
    LOG_LEVEL_GUARD& operator=(const LOG_LEVEL_GUARD&) = delete;
    ~LOG_LEVEL_GUARD() { BM_LOG_LEVEL = m_Before; }

private:
    int m_Before;
};

/// In programs that link fake_bmilog, bmiLog writes to this recorder (null: nowhere) instead of the platform's log.
void RecordBmiLogTo(RECORDING_LOG* a_Log);
