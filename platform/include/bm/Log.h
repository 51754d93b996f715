// The host's log, as an adaptor sees it.
#pragma once

/// Log levels in use. A smaller number is more urgent.
enum BMLogLevel_e {
    BM_LOG_ERROR = 3, ///< errors and warnings: always written
    BM_LOG_DEBUG = 7  ///< traces: an adaptor writes them only while BM_LOG_LEVEL is 3
};

/// The logger object that a host hands to its adaptors (IBMAdaptorMgr::GetLogger). It must stay valid until the process
/// ends: an adaptor's own threads may log until then, after Fin too.
class CBaseOsLog {
public:
    /// Writes one message. Called from any thread, also at the same time; what it throws is dropped. It may call the
    /// adaptor back, and wait for a thread that does. Only LEDs are out of reach, for ever: in a line of an LED command
    /// that is under way, and on the thread that receives the IPMI replies.
    /// @param text  finished text, possibly with a line end of its own; copied before the call returns
    virtual void Log(int level, const char* component, const char* text) = 0;

protected:
    ~CBaseOsLog() = default; // the host owns its logger
};

/// The host's global log level; traces are written while it is 3. Set it before the adaptor runs.
extern int BM_LOG_LEVEL;

/// Formats and writes one message to the host's log; thread-safe, never throws.
void bmiLog(int level, const char* component, const char* format, ...) __attribute__((format(printf, 3, 4)));
