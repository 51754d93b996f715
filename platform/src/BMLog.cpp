// The host's log on spdlog: bmiLog and the logger object write the same lines to the same sinks.
#include "HostLog.h"

#include "bm/Log.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <string_view>

int BM_LOG_LEVEL = 0;

namespace BM_PLATFORM {

namespace {

// Never destroyed: an adaptor's threads may log while the process ends.
class LOG final : public CBaseOsLog {
public:
    LOG() : m_Logger("host", m_Console) {
        m_Logger.set_level(spdlog::level::trace);
        m_Logger.set_pattern("%Y-%m-%d %H:%M:%S.%e %v");
        m_Logger.flush_on(spdlog::level::trace);
    }

    void Log(int level, const char* component, const char* text) override {
        std::string_view line = text != nullptr ? text : "";
        while (!line.empty() && line.back() == '\n')
            line.remove_suffix(1);
        const std::lock_guard<std::mutex> lock(m_Guard);
        try {
            m_Logger.log(level <= BM_LOG_ERROR ? spdlog::level::err : spdlog::level::debug, "<{}> [{}] {}", level,
                         component != nullptr ? component : "", line);
        } catch (...) { // a log that cannot be written must not end the caller
        }
    }

    void ToConsole(bool on) { m_Console->set_level(on ? spdlog::level::trace : spdlog::level::off); }

    void ToFile(const std::string& path) {
        try {
            auto file = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path);
            file->set_pattern("%Y-%m-%d %H:%M:%S.%e %v");
            const std::lock_guard<std::mutex> lock(m_Guard);
            m_Logger.sinks().push_back(file);
        } catch (const spdlog::spdlog_ex& error) {
            throw std::runtime_error("log file " + path + ": " + error.what());
        }
    }

private:
    std::shared_ptr<spdlog::sinks::stderr_sink_mt> m_Console = std::make_shared<spdlog::sinks::stderr_sink_mt>();
    spdlog::logger m_Logger;
    std::mutex m_Guard;
};

LOG& TheLog() {
    static LOG& log = *new LOG;
    return log;
}

} // namespace

void LogToConsole(bool on) {
    TheLog().ToConsole(on);
}

void LogToFile(const std::string& path) {
    TheLog().ToFile(path);
}

CBaseOsLog& HostLog() {
    return TheLog();
}

} // namespace BM_PLATFORM

void bmiLog(int level, const char* component, const char* format, ...) {
    if (format == nullptr) return;
    va_list arguments;
    va_start(arguments, format);
    char* text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length < 0) return; // no memory, no line
    BM_PLATFORM::HostLog().Log(level, component, text);
    free(text);
}
