// The options of bmhost-web when it serves.
#include "host/web/WebOptions.h"

#include "host/accounts/AccountFile.h"
#include "host/words/Error.h"

#include <CLI/CLI.hpp>

#include <limits>

namespace bmhost {

namespace {

constexpr const char* WebConfigFile = "/etc/bmhost/web.toml";

} // namespace

WebOptions ReadWebOptions(const std::vector<std::string>& words) {
    WebOptions options;
    options.m_accounts = UsualAccountFile;
    std::vector<std::string> listen;
    CLI::App app("The web door of a blade: asks its resident host for whoever asks over the network.", "bmhost-web");
    app.set_version_flag("-V,--version", "bmhost-web " BMHOST_VERSION, "show the version");
    app.set_config("--config", WebConfigFile, "the configuration file: options as NAME = VALUE, in TOML");
    app.allow_config_extras(CLI::config_extras_mode::error);
    app.add_option("--listen", listen, "ADDRESS:PORT to serve at; an IPv6 address in brackets; may be repeated")
        ->type_name("ADDRESS:PORT");
    app.add_option("--tls-cert", options.m_certificate, "the server's certificate and those it is signed by, in PEM")
        ->type_name("FILE");
    app.add_option("--tls-key", options.m_key, "the certificate's key, in PEM")->type_name("FILE");
    app.add_option("--accounts", options.m_accounts, "the file of the accounts")->type_name("FILE");
    app.add_option("--server-name", options.m_serverNames,
                   "a name by which browsers and programs call this server; may be repeated")
        ->type_name("NAME");
    app.add_option("--max-image-size", options.m_imageSize, "the largest firmware image, in bytes")
        ->check(CLI::Range(uint64_t{1}, std::numeric_limits<uint64_t>::max() / 2));
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    try {
        app.parse(std::move(reversed));
    } catch (const CLI::CallForVersion& version) {
        options.m_answer = std::string(version.what()) + "\n";
    } catch (const CLI::CallForHelp&) {
        options.m_answer = app.help();
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    for (const std::string& address : listen)
        options.m_listen.push_back(ListenAddressOf(address));
    if (options.m_certificate.empty() != options.m_key.empty())
        throw UsageError("--tls-cert and --tls-key go together");
    return options;
}

void CheckListenAddress(const ListenAddress& address, const WebOptions& options, std::size_t accounts) {
    if (address.IsLoopback()) return;
    const std::string beginning = address.Text() + " is no loopback address: it needs ";
    if (!options.HasTls()) {
        throw UsageError(beginning + "TLS, --tls-cert and --tls-key; `bmhost tls-init` makes both");
    }
    if (accounts == 0)
        throw UsageError(beginning + "an account, and " + options.m_accounts +
                         " has none; `bmhost account add` adds one");
}

} // namespace bmhost
