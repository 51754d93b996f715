// The options of bmhostd: of its command line, and of its configuration file.
#include "host/DaemonOptions.h"

#include "host/orders/FirmwareFile.h"
#include "host/session/StorageHome.h"
#include "host/words/Error.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>

namespace bmhost {

namespace {

constexpr const char* ConfigFile = "/etc/bmhost/bmhost.toml";
constexpr int LongestSweep = 86400;
constexpr int LongestEndWait = 3600;

// What is not there yet will be made. A file in its place would silently keep nothing.
std::string CheckFolder(const std::string& path) {
    std::error_code unknown;
    const bool good = !std::filesystem::exists(path, unknown) || std::filesystem::is_directory(path, unknown);
    return good ? "" : "'" + path + "' is no folder";
}

std::string ReasonOf(const CLI::ParseError& error) {
    constexpr std::string_view unknown = "INI was not able to parse ";
    const std::string text = error.what();
    return text.starts_with(unknown) ? "no such setting: " + text.substr(unknown.size()) : text;
}

// Where the words alone are right, it is the file that is wrong. One that cannot be read is named anyway.
std::string FilePrefix(CLI::App& app, const std::vector<std::string>& words) {
    auto file = app.get_config_ptr()->as<std::string>();
    if (std::error_code unknown; !std::filesystem::exists(file, unknown)) return "";
    app.set_config();
    app.add_option("--config", file);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ParseError&) {
        return "";
    }
    return file + ": ";
}

} // namespace

DaemonOptions ReadDaemonOptions(const std::vector<std::string>& words) {
    DaemonOptions options;
    options.m_storage = StorageHome();
    options.m_state = StateFolder();
    int sweep = 30;
    int endWait = 10;
    CLI::App app("The resident host of a blade: holds its adaptor, and answers bmhost.", "bmhostd");
    app.set_version_flag("-V,--version", "bmhostd " BMHOST_VERSION, "show the version");
    app.set_config("--config", ConfigFile, "the configuration file: options as NAME = VALUE, in TOML");
    app.allow_config_extras(CLI::config_extras_mode::error);
    app.add_option("--adaptor", options.m_adaptor, "the adaptor's library; default: the one installed with bmhostd");
    app.add_option("--mode", options.m_mode, "the host's mode: in modes 1 and 3 the adaptor touches the board");
    app.add_option("--storage", options.m_storage, "the folder of the host's storage")->check(CheckFolder);
    app.add_option("--state", options.m_state, "the folder of the history of upgrades, and of firmware images")
        ->check(CheckFolder);
    app.add_option("--log", options.m_logFile, "write the log to this file as well");
    app.add_option("--log-level", options.m_logLevel, "the global log level; 3 shows traces");
    app.add_flag("--json", options.m_json, "one JSON line for each thing that happens");
    app.add_option("--notice-after", options.m_noticeAfter,
                   "milliseconds after which standard error tells of a call that does not return")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()));
    app.add_option("--sweep", sweep, "seconds in which every LED is read once; 0: without a pause")
        ->check(CLI::Range(0, LongestSweep));
    app.add_option("--end-wait", endWait,
                   "seconds for which the end waits for a call that does not return; thirty times as long for start "
                   "and stop")
        ->check(CLI::Range(0, LongestEndWait));
    app.add_flag("--no-start", options.m_noStart, "init only: `bmhost start` starts the blade");
    app.add_flag("--exit-on-fault", options.m_settings.m_exitOnFault,
                 "end when init or start does not return 1, or the monitor finds a fault");
    app.add_flag("--restart-on-fault", options.m_settings.m_restartOnFault,
                 "stop and start when the monitor finds a fault, which interrupts all calls");
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForVersion& version) {
        options.m_answer = std::string(version.what()) + "\n";
    } catch (const CLI::CallForHelp&) {
        options.m_answer = app.help();
    } catch (const CLI::ParseError& error) {
        throw UsageError(FilePrefix(app, words) + ReasonOf(error));
    }
    options.m_settings.m_sweep = std::chrono::seconds(sweep);
    options.m_settings.m_endWait = std::chrono::seconds(endWait);
    return options;
}

} // namespace bmhost
