// bmhost: the reference host command.
#include "host/commands/CommandList.h"
#include "host/context/ChosenLine.h"
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
#include <vector>

namespace {

using namespace bmhost;

void SetUpLog(const GlobalOptions& options) {
    BM_LOG_LEVEL = options.m_logLevel;
    if (options.m_logFile.empty()) return;
    try {
        bm_dev::LogToFile(options.m_logFile);
    } catch (const std::runtime_error& error) {
        throw UsageError(error.what());
    }
}

int Run(const std::vector<std::string>& words) {
    GlobalOptions options;
    const auto commands = MakeCommands(OnCommandLine);
    AddGlobalOptions(commands->Root(), options);
    const Line line = commands->Read(words);
    NoteGiven(commands->Root(), line.m_command, options);
    ChosenLine context(options);
    if (line.m_command == nullptr) {
        context.Answer(line.m_answer);
        return ExitAllOk;
    }
    SetUpLog(options);
    try {
        const bool good = Do(*line.m_command, context);
        return context.Ending().value_or(good ? ExitAllOk : ExitSomeFailed);
    } catch (const TimeUpError& error) {
        throw TimeUpError("`bmhost " + line.m_command->Path() + "`: " + error.what());
    }
}

int Fail(const std::exception& error, int status) {
    fflush(stdout);
    fprintf(stderr, "bmhost: %s\n", bm_dev::Printable(error.what(), "\n\t").c_str());
    return status;
}

} // namespace

int main(int argc, char** argv) {
    // A reader that goes away, and a file that may not grow any more, are errors of the output or of the storage, not
    // the end of a host that holds hardware. Handlers, because tools that the adaptor starts get the default back.
    signal(SIGPIPE, [](int) {});
    signal(SIGXFSZ, [](int) {});
    int status = ExitAllOk;
    try {
        KeepStandardDescriptors();
        status = Run({argv + 1, argv + argc});
    } catch (const UsageError& error) {
        status = Fail(error, ExitUsage);
    } catch (const LoadError& error) {
        status = Fail(error, ExitNoAdaptor);
    } catch (const TimeUpError& error) {
        status = Fail(error, ExitTimeUp);
    } catch (const OtherHostError& error) {
        status = Fail(error, ExitOtherHost);
    } catch (const std::exception& error) {
        status = Fail(error, ExitSomeFailed);
    }
    DisarmEndNotice();
    return status;
}
