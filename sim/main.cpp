// bladesim: brings up a simulated blade, runs a command in it and takes it down; gives orders to a running blade.
#include "sim/base/ExitStatus.h"
#include "sim/blade/BladeFile.h"
#include "sim/blade/DumpFru.h"
#include "sim/life/Outside.h"
#include "sim/orders/CommandLine.h"
#include "sim/orders/ControlCommand.h"
#include "sim/orders/MediaCommand.h"
#include "sim/orders/SwitchCommand.h"
#include "sim/orders/ToolCommand.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <string_view>

using namespace bladesim;

namespace {

/// The commands for a running blade, by the first word of the command line.
struct BladeCommand {
    std::string_view m_word;
    int (*m_run)(int count, char** arguments);
};

constexpr BladeCommand Commands[] = {
    {"fault", RunControlCommand}, {"controller", RunControlCommand}, {"show", RunControlCommand},
    {"tool", RunToolCommand},     {"media", RunMediaCommand},        {"switch", RunSwitchCommand},
};

/// Looks up the blade's name or file first: its errors are reported before anything is set up.
int Run(CommandLine line) {
    Options& options = line.m_options;
    options.m_paths = FindPaths();
    options.m_blade = ReadBladeFile(FindBlade(options.m_paths, line.m_blade));
    if (!line.m_dumpFru) return RunBlade(options);
    DumpFru(options.m_blade, line.m_dumpFru->first, line.m_dumpFru->second);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    if (count > 1) {
        const auto* const command = std::ranges::find(Commands, std::string_view(arguments[1]), &BladeCommand::m_word);
        if (command != std::end(Commands)) return command->m_run(count, arguments);
    }
    CommandLine line;
    if (const auto status = ParseCommandLine(count, arguments, line)) return *status;
    try {
        // Not with return: a sanitizer's leak check needs a /proc, which in a bare chroot only the inside has.
        std::_Exit(Run(std::move(line)));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bladesim: %s\n", error.what());
        return NotBroughtUp;
    }
}
