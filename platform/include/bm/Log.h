// The host's log, as an adaptor sees it.
#pragma once

/// Log levels in use. A smaller number is more urgent.
enum BMLogLevel_e {
    BM_LOG_ERROR = 3, ///< errors and warnings: always written
    BM_LOG_DEBUG = 7  ///< traces: an adaptor writes them only while BM_LOG_LEVEL is 3
};

/// The logger object that a host hands to its adaptors (IBMAdaptorMgr::GetLogger). It must stay valid until the process
/// ends: an adaptor's own threads may log until then, even after Fin.
class CBaseOsLog {
public:
    /// Writes one message. Called from any thread, and by several at once; exceptions are dropped. It may call the
    /// adaptor back, or wait for a thread that does. LEDs are the one exception: in a line of an LED command in
    /// progress, and on the thread that receives the IPMI replies, waiting for an LED never ends.
    /// @param text  finished text, which may contain line ends; copied before the call returns
    virtual void Log(int level, const char* component, const char* text) = 0;

protected:
    ~CBaseOsLog() = default; // the host owns its logger
};

/// The host's global log level; traces are written while it is 3. Set it before the adaptor runs.
extern int BM_LOG_LEVEL;

/// Formats and writes one message to the host's log; thread-safe, never throws.
void bmiLog(int level, const char* component, const char* format, ...) __attribute__((format(printf, 3, 4)));
