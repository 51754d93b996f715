// The host's log on spdlog: bmiLog and the logger object write the same lines to the same sinks.
#include "bm_dev/HostLog.h"

#include "bm_dev/ByteText.h"
#include "bm_dev/UniqueFd.h"

#include "bm/Log.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>

int BM_LOG_LEVEL = 0;

namespace bm_dev {

namespace {

constexpr const char* Pattern = "%Y-%m-%d %H:%M:%S.%e %v";
constexpr mode_t NewFileMode = 0644;

// The text without trailing line ends. It may contain the hardware's bytes, none of which may control a terminal.
std::string LinesOf(const char* text) {
    std::string lines = text != nullptr ? text : "";
    lines.erase(lines.find_last_not_of('\n') + 1);
    return Printable(std::move(lines), "\n\t");
}

// In log and console every line but the first is marked, so that no text passes for separate lines.
std::string WithMarks(const std::string& lines) {
    constexpr const char* mark = "\n    | ";
    std::string marked;
    for (const char byte : lines) {
        if (byte == '\n') {
            marked += mark;
        } else {
            marked += byte;
        }
    }
    return marked;
}

// Tools that an adaptor starts must not inherit the log file.
void CloseOnExec(const spdlog::filename_t&, std::FILE* file) {
    fcntl(fileno(file), F_SETFD, FD_CLOEXEC);
}

// Never destroyed: an adaptor's threads may log while the process ends.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final, and never destroyed
class LogWriter final : public CBaseOsLog {
public:
    LogWriter() : m_logger("host", m_console) {
        m_logger.set_level(spdlog::level::trace);
        m_logger.set_pattern(Pattern);
        m_logger.flush_on(spdlog::level::trace);
        // Reported once: a full disk would fail every following line, too.
        m_logger.set_error_handler([this](const std::string& error) {
            if (!m_told.exchange(true)) std::fprintf(stderr, "log: %s; reported only once\n", error.c_str());
        });
    }

    void Log(int level, const char* component, const char* text) override {
        try {
            const std::string lines = LinesOf(text);
            const std::string name = Printable(component != nullptr ? component : "");
            const std::lock_guard<std::mutex> lock(m_guard);
            m_logger.log(level <= BM_LOG_ERROR ? spdlog::level::err : spdlog::level::debug, "<{}> [{}] {}", level, name,
                         WithMarks(lines));
            if (m_listener) m_listener(level, name, lines);
        } catch (...) { // a log that cannot be written must not end the caller
        }
    }

    void ToConsole(bool on) { m_console->set_level(on ? spdlog::level::trace : spdlog::level::off); }

    void ToFile(const std::string& path) {
        try {
            // The file sink would create missing folders, but a mistyped path must be an error; nobody but its owner
            // writes a new file, whatever the umask, and a pipe that nobody reads must not hold up the host.
            constexpr int flags = O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
            const bm_dev::UniqueFd probe(::open(path.c_str(), flags, NewFileMode));
            if (!probe) throw spdlog::spdlog_ex(std::strerror(errno));
            spdlog::file_event_handlers handlers;
            handlers.after_open = CloseOnExec;
            auto file = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path, false, handlers);
            file->set_pattern(Pattern);
            const std::lock_guard<std::mutex> lock(m_guard);
            m_logger.sinks().push_back(file);
        } catch (const spdlog::spdlog_ex& error) {
            throw std::runtime_error("log file " + path + ": " + error.what());
        }
    }

    void ToListener(LogListener listener) {
        const std::lock_guard<std::mutex> lock(m_guard);
        m_listener = std::move(listener);
    }

private:
    std::shared_ptr<spdlog::sinks::stderr_sink_mt> m_console = std::make_shared<spdlog::sinks::stderr_sink_mt>();
    spdlog::logger m_logger;
    std::mutex m_guard;
    std::atomic<bool> m_told = false;
    LogListener m_listener;
};

LogWriter& TheLog() {
    static LogWriter& log = *new LogWriter;
    return log;
}

} // namespace

void LogToConsole(bool on) {
    TheLog().ToConsole(on);
}

void LogToFile(const std::string& path) {
    TheLog().ToFile(path);
}

void LogToListener(LogListener listener) {
    TheLog().ToListener(std::move(listener));
}

CBaseOsLog& HostLog() {
    return TheLog();
}

} // namespace bm_dev

void bmiLog(int level, const char* component, const char* format, ...) {
    if (format == nullptr) return;
    va_list arguments;
    va_start(arguments, format);
    char* text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length < 0) return; // without memory there is no line
    bm_dev::HostLog().Log(level, component, text);
    free(text);
}
