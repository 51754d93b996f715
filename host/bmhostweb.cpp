// bmhost-web: the web door of a blade.
#include "host/accounts/AccountCommand.h"
#include "host/service/SmallHeap.h"
#include "host/session/Program.h"
#include "host/web/TlsInit.h"
#include "host/web/metrics/MetricsCommand.h"
#include "host/web/serve/Serve.h"

#include <string>
#include <vector>

namespace {

using namespace bmhost;

int Run(const std::vector<std::string>& words) {
    const std::string command = words.empty() ? "" : words.front();
    if (command == "account") return AccountCommand({words.begin() + 1, words.end()});
    if (command == "tls-init") return TlsInitCommand({words.begin() + 1, words.end()});
    if (command == "metrics") return MetricsCommand({words.begin() + 1, words.end()});
    return ServeWeb(words);
}

} // namespace

int main(int argc, char** argv) {
    KeepHeapSmall();
    return RunProgram([&] { return Run({argv + 1, argv + argc}); });
}
