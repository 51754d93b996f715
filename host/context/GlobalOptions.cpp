// The options that every command takes.
#include "host/context/GlobalOptions.h"

#include "host/session/StorageHome.h"
#include "host/words/Command.h"

#include <CLI/CLI.hpp>

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

constexpr double ShortestTimeout = 0.001;
constexpr double LongestTimeout = 1000000;
constexpr std::chrono::seconds DefaultTimeout(30);

} // namespace

void NoteGiven(const Command& root, const Command* command, GlobalOptions& options) {
    options.m_lasts = command != nullptr && command->Lasts();
    options.m_forOwnAdaptor.clear();
    for (const char* const name : {"--adaptor", "--mode", "--storage", "--log", "--log-level"}) {
        if (root.App().get_option(name)->count() != 0) options.m_forOwnAdaptor.emplace_back(name);
    }
}

std::optional<std::chrono::milliseconds> TimeLimit(const GlobalOptions& options, bool byDefault) {
    using Seconds = std::chrono::duration<double>;
    // Not ceil: with the x87's long numbers 0.05 s are a little more than 50 ms.
    if (options.m_timeout) return std::chrono::round<std::chrono::milliseconds>(Seconds(*options.m_timeout));
    if (!byDefault || options.m_lasts) return std::nullopt;
    return DefaultTimeout;
}

void AddGlobalOptions(Command& root, GlobalOptions& options) {
    options.m_storage = StorageHome();
    root.Option(
        {"--adaptor", "FILE", "the adaptor's library; default: the one installed with bmhost", Choices::Kind::File},
        options.m_adaptor);
    root.Option(
        {"--mode", "N", "the host's mode: in modes 1 and 3 the adaptor touches the board, in mode 2 it only looks"},
        options.m_mode, {});
    root.App().get_option("--mode")->each([&options](const std::string&) { options.m_modeGiven = true; });
    root.Option({"--log-level", "N", "the global log level; 3 shows traces"}, options.m_logLevel, {});
    root.Option({"--log", "FILE", "write the log to this file as well", Choices::Kind::File}, options.m_logFile);
    root.Option({"--storage", "DIR", "the folder of the host's storage", Choices::Kind::Folder}, options.m_storage);
    root.App().get_option("--storage")->check(CheckFolder)->capture_default_str();
    root.Flag({"--json", "", "one JSON line a call; what the adaptor prints goes to standard error"}, options.m_json);
    root.Option(
        {"--notice-after", "MS", "milliseconds after which standard error tells of a call that does not return"},
        options.m_noticeAfter, {1, std::numeric_limits<int>::max()});
    root.Option({"--timeout", "SECONDS",
                 "end the command with status 5 after this time; by default 30 for clients and commands for people"},
                options.m_timeout);
    root.App().get_option("--timeout")->check(CLI::Range(ShortestTimeout, LongestTimeout).description(""));
    root.Flag({"--direct", "", "with an adaptor of its own, even beside the resident host"}, options.m_direct);
    root.App().add_flag("-q,--quiet", options.m_quiet, "no progress and no remarks; errors stay");
    root.Flag({"--simulated", "", "simulated data are asked for: they are no reason for status 4"},
              options.m_simulated);
    root.Flag({"--wide", "", "do not fit tables to the terminal"}, options.m_wide);
    root.Option({"--connect", "URL", "the blade whose web door is at https://HOST[:PORT], or at http://127.0.0.1:PORT"},
                options.m_connect);
    root.Option({"--account", "NAME", "with --connect: the account of that web door"}, options.m_account);
    root.Option({"--password-file", "FILE", "its password: the only line of a file of your own, '-' asks for it",
                 Choices::Kind::File},
                options.m_passwordFile);
    root.Option({"--tls-ca", "FILE", "whose certificates are trusted, in PEM; default: those that the system trusts",
                 Choices::Kind::File},
                options.m_tlsCa);
    root.App().set_version_flag("-V,--version", "bmhost " BMHOST_VERSION, "show the version");
    root.App().set_help_flag("-h,--help", "show this help, or after a command what there is to know of it");
    root.KnownFlag("--quiet").KnownFlag("--help").KnownFlag("--version");
}

} // namespace bmhost
