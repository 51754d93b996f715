// bladesim: brings a simulated blade up, runs a command in it and takes it down; and speaks with a blade that runs.
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

using namespace BLADESIM;

namespace {

/// What is done in a blade that runs, by the first word of the command line.
struct BLADE_COMMAND {
    std::string_view m_Word;
    int (*m_Run)(int a_Count, char** a_Arguments);
};

constexpr BLADE_COMMAND g_Commands[] = {
    {"fault", RunControlCommand}, {"controller", RunControlCommand}, {"show", RunControlCommand},
    {"tool", RunToolCommand},     {"media", RunMediaCommand},        {"switch", RunSwitchCommand},
};

/// The blade's name or file is looked up here: whatever is wrong with it is said before anything is set up.
int Run(COMMAND_LINE a_Line) {
    OPTIONS& l_Options = a_Line.m_Options;
    l_Options.m_Paths = FindPaths();
    l_Options.m_Blade = ReadBladeFile(FindBlade(l_Options.m_Paths, a_Line.m_Blade));
    if (!a_Line.m_DumpFru) return RunBlade(l_Options);
    DumpFru(l_Options.m_Blade, a_Line.m_DumpFru->first, a_Line.m_DumpFru->second);
    return 0;
}

} // namespace

int main(int a_Count, char** a_Arguments) {
    if (a_Count > 1) {
        const auto* const l_Command =
            std::ranges::find(g_Commands, std::string_view(a_Arguments[1]), &BLADE_COMMAND::m_Word);
        if (l_Command != std::end(g_Commands)) return l_Command->m_Run(a_Count, a_Arguments);
    }
    COMMAND_LINE l_Line;
    if (const auto l_Status = ParseCommandLine(a_Count, a_Arguments, l_Line)) return *l_Status;
    try {
        // Not by return: the leak check of a sanitizer needs a /proc, which a bare chroot has for the inside only.
        std::_Exit(Run(std::move(l_Line)));
    } catch (const std::exception& l_Error) {
        std::fprintf(stderr, "bladesim: %s\n", l_Error.what());
        return g_NotBroughtUp;
    }
}
