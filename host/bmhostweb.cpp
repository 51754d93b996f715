// bmhost-web: the web door of a blade.
#include "host/session/Program.h"
#include "host/web/TlsInit.h"
#include "host/web/metrics/MetricsCommand.h"
#include "host/web/serve/Serve.h"

#include <string>
#include <vector>

namespace {

using namespace bmhost;

int Run(const std::vector<std::string>& words) {
    if (!words.empty() && words.front() == "metrics") return MetricsCommand({words.begin() + 1, words.end()});
    throw UsageError((words.empty() ? "no command" : "unknown command '" + words.front() + "'") + ": expected metrics");
}

} // namespace

int main(int argc, char** argv) {
    return RunProgram([&] { return Run({argv + 1, argv + argc}); });
}
