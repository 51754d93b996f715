// OpenIPMI's own log lines, on standard output.
#include "ipmi/IPMI_Thread.h"

#include "common/veldo_common_trace.h"

#include <OpenIPMI/ipmi_log.h>

#include <cstdio>

namespace BM_ADAPTOR {

void posix_vlog(const char* a_Format, enum ipmi_log_type_e a_Level, va_list a_Arguments) {
    bool l_EndsLine = true;
    switch (a_Level) {
    case IPMI_LOG_INFO:
        printf("INFO:(%x) ", ThreadId());
        break;
    case IPMI_LOG_WARNING:
        fputs("WARN: ", stdout);
        break;
    case IPMI_LOG_SEVERE:
        fputs("SEVR: ", stdout);
        break;
    case IPMI_LOG_FATAL:
        fputs("FATL: ", stdout);
        break;
    case IPMI_LOG_ERR_INFO:
        fputs("EINF: ", stdout);
        break;
    case IPMI_LOG_DEBUG:
        fputs("DEBG: ", stdout);
        break;
    case IPMI_LOG_DEBUG_START:
        printf("(threadid=%x)", ThreadId());
        fputs("DEBG: ", stdout);
        l_EndsLine = false;
        break;
    case IPMI_LOG_DEBUG_CONT:
        l_EndsLine = false;
        break;
    case IPMI_LOG_DEBUG_END:
        break;
    }
    vprintf(a_Format, a_Arguments);
    if (l_EndsLine) putchar('\n');
}

} // namespace BM_ADAPTOR
