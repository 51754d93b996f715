// bladesim: brings up a simulated blade, runs a command in it and takes it down; gives orders to a running blade.
#include "bm_dev/Nearest.h"
#include "sim/base/Error.h"
#include "sim/base/ExitStatus.h"
#include "sim/base/Process.h"
#include "sim/blade/BladeFile.h"
#include "sim/blade/DumpFru.h"
#include "sim/life/Outside.h"
#include "sim/orders/CaptureCommand.h"
#include "sim/orders/CommandLine.h"
#include "sim/orders/ControlCommand.h"
#include "sim/orders/ListCommand.h"
#include "sim/orders/MediaCommand.h"
#include "sim/orders/SwitchCommand.h"
#include "sim/orders/ToolCommand.h"
#include "sim/shelf/ShelfCommand.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace bladesim;

namespace {

/// The commands that bring no blade up, and those for shelves, by the first word of the command line.
struct BladeCommand {
    std::string_view m_word;
    int (*m_run)(int count, char** arguments);
};

constexpr BladeCommand Commands[] = {
    {"fault", RunControlCommand},   {"controller", RunControlCommand}, {"show", RunControlCommand},
    {"tool", RunToolCommand},       {"media", RunMediaCommand},        {"switch", RunSwitchCommand},
    {"list", RunListCommand},       {"attach", RunAttachCommand},      {"shelf", RunShelfCommand},
    {"capture", RunCaptureCommand},
};

/// A first word that is most likely a mistyped command; a program of that name is meant as it stands.
std::string Mistyped(std::string_view word) {
    if (word.find('/') != std::string_view::npos || IsInPath(std::string(word))) return "";
    std::vector<std::string> words;
    for (const BladeCommand& command : Commands)
        words.emplace_back(command.m_word);
    return bm_dev::DidYouMean(word, words);
}

/// The file of `--blade`. A name that nothing has is answered with the nearest that there is.
std::string BladeOf(const CommandLine& line) {
    std::string file = FindBlade(line.m_options.m_paths, line.m_blade);
    std::error_code ignored;
    if (file.find('/') != std::string::npos || std::filesystem::exists(file, ignored)) return file;
    throw BladeError(file + ": there is neither a file nor a blade of this name" +
                     bm_dev::DidYouMean(file, ShippedBlades(line.m_options.m_paths)) + " (bladesim list shows them)");
}

/// Looks up the blade's name or file first: its errors are reported before anything is set up.
int Run(CommandLine line) {
    Options& options = line.m_options;
    options.m_paths = FindPaths();
    options.m_blade = ReadBladeFile(BladeOf(line));
    if (!line.m_replay.empty()) options.m_replay = ReadRecording(line.m_replay);
    if (!line.m_dumpFru) return RunBlade(options);
    DumpFru(options.m_blade, line.m_dumpFru->first, line.m_dumpFru->second);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    if (count > 1) {
        const auto* const command = std::ranges::find(Commands, std::string_view(arguments[1]), &BladeCommand::m_word);
        if (command != std::end(Commands)) return command->m_run(count, arguments);
        if (const std::string meant = Mistyped(arguments[1]); !meant.empty()) {
            std::fprintf(stderr, "bladesim: there is no command %s%s\n", arguments[1], meant.c_str());
            return BadUsage;
        }
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
