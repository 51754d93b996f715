// What the host's programs do around their work: the same signals, and the same status for the same error.
#pragma once

#include "host/output/Redirect.h"
#include "host/session/EndNotice.h"
#include "host/words/Error.h"

#include "bm/Log.h"
#include "bm_dev/ByteText.h"
#include "bm_dev/HostLog.h"

#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace bmhost {

/// Sets level and file of the log; an empty file is none. Throws UsageError for a file that cannot be opened.
inline void SetUpLog(int level, const std::string& file) {
    BM_LOG_LEVEL = level;
    if (file.empty()) return;
    try {
        bm_dev::LogToFile(file);
    } catch (const std::runtime_error& error) {
        throw UsageError(error.what());
    }
}

/// Tells of the error on standard error, and returns the status.
inline int FailedProgram(const std::exception& error, int status) {
    fflush(stdout);
    fprintf(stderr, "bmhost: %s\n", bm_dev::Printable(error.what(), "\n\t").c_str());
    return status;
}

/// The program's status: what the work returns, or the one that its error leads to. To be called once, by main.
template <typename Work>
int RunProgram(const Work& work) {
    // A reader that goes away, and a file that may not grow any more, are errors of the output or of the storage, not
    // the end of a host that holds hardware. Handlers, because tools that the adaptor starts get the default back.
    signal(SIGPIPE, [](int) {});
    signal(SIGXFSZ, [](int) {});
    int status = ExitAllOk;
    try {
        KeepStandardDescriptors();
        status = work();
    } catch (const UsageError& error) {
        status = FailedProgram(error, ExitUsage);
    } catch (const LoadError& error) {
        status = FailedProgram(error, ExitNoAdaptor);
    } catch (const TimeUpError& error) {
        status = FailedProgram(error, ExitTimeUp);
    } catch (const OtherHostError& error) {
        status = FailedProgram(error, ExitOtherHost);
    } catch (const std::exception& error) {
        status = FailedProgram(error, ExitSomeFailed);
    }
    DisarmEndNotice();
    return status;
}

} // namespace bmhost
