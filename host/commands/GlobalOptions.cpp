// The options that every command takes.
#include "host/commands/GlobalOptions.h"

#include "host/words/Command.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <filesystem>
#include <limits>
#include <system_error>

namespace bmhost {

namespace {

// What is not there yet will be made. A file in its place would silently keep nothing.
std::string CheckFolder(const std::string& path) {
    std::error_code unknown;
    const bool good = !std::filesystem::exists(path, unknown) || std::filesystem::is_directory(path, unknown);
    return good ? "" : "'" + path + "' is no folder";
}

} // namespace

std::string StateFile(const std::string& name) {
    if (const char* state = getenv("XDG_STATE_HOME"); state != nullptr && state[0] != '\0') {
        return std::string(state) + "/" + name;
    }
    const char* home = getenv("HOME");
    return std::string(home != nullptr ? home : "") + "/.local/state/" + name;
}

void AddGlobalOptions(Command& root, GlobalOptions& options) {
    options.m_storage = StateFile("bmhost");
    root.Option(
        {"--adaptor", "FILE", "the adaptor's library; default: the one installed with bmhost", Choices::Kind::File},
        options.m_adaptor);
    root.Option(
        {"--mode", "N", "the host's mode: in modes 1 and 3 the adaptor touches the board, in mode 2 it only looks"},
        options.m_mode, {});
    root.Option({"--log-level", "N", "the global log level; 3 shows traces"}, options.m_logLevel, {});
    root.Option({"--log", "FILE", "write the log to this file as well", Choices::Kind::File}, options.m_logFile);
    root.Option({"--storage", "DIR", "the folder of the host's storage", Choices::Kind::Folder}, options.m_storage);
    root.App().get_option("--storage")->check(CheckFolder)->capture_default_str();
    root.Flag({"--json", "", "one JSON line a call; what the adaptor prints goes to standard error"}, options.m_json);
    root.Option(
        {"--notice-after", "MS", "milliseconds after which standard error tells of a call that does not return"},
        options.m_noticeAfter, {1, std::numeric_limits<int>::max()});
    root.App().set_version_flag("-V,--version", "bmhost " BMHOST_VERSION, "show the version");
    root.App().set_help_flag("-h,--help", "show this help, or after a command what there is to know of it");
    root.KnownFlag("--help").KnownFlag("--version");
}

} // namespace bmhost
