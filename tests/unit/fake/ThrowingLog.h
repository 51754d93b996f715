// A host's logger that throws.
#pragma once

#include "bm/Log.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

class THROWING_LOG : public CBaseOsLog {
public:
    /// Throws at every line that begins so; at every line without an argument.
    explicit THROWING_LOG(std::string a_Beginning = "") : m_Beginning(std::move(a_Beginning)) {}
    virtual ~THROWING_LOG() = default;

    void Log(int, const char*, const char* a_Text) override {
        if (std::string_view(a_Text).starts_with(m_Beginning)) throw std::runtime_error(a_Text);
    }

private:
    const std::string m_Beginning;
};
