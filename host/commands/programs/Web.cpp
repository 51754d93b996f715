// `bmhost web` and `bmhost tls-init`: the web door, which is a program of its own.
#include "host/context/Context.h"
#include "host/context/OtherProgram.h"
#include "host/words/Commands.h"

#include <string>
#include <vector>

namespace bmhost {

namespace {

// The other program reads them.
struct WebWords {
    std::vector<std::string> m_all;
};

} // namespace

void AddWeb(Commands& commands) {
    Command& web = commands.Add("web", "serve the web door until Ctrl-C or SIGTERM", OnCommandLine);
    const auto served = web.Own<WebWords>();
    web.Words("[OPTION ...]", served->m_all)
        .Dash(Dashes::AreWords)
        .OnlyHere()
        .WithoutTimeLimit()
        .Details(
            "Answers HTTP at each --listen ADDRESS:PORT: on a loopback address without TLS, where whoever asks may\n"
            "look, and orders need an account; elsewhere with TLS, --tls-cert FILE and --tls-key FILE, and an\n"
            "account for everything. --accounts FILE has the accounts, --server-name NAME is a name by which it is\n"
            "asked. Options are in /etc/bmhost/web.toml, too, or in --config FILE. SIGHUP reads certificate and\n"
            "accounts again. docs/web.md tells more.\n")
        .Example("bmhost web --listen 127.0.0.1:18080")
        .Run([served](Context&) -> bool { BecomeProgram("bmhost-web", served->m_all); });

    Command& init = commands.Add("tls-init", "make a key and a certificate for the web door", OnCommandLine);
    const auto made = init.Own<WebWords>();
    init.Words("[OPTION ...]", made->m_all)
        .Dash(Dashes::AreWords)
        .OnlyHere()
        .WithoutTimeLimit()
        .Details(
            "Makes web.key and web.crt in /etc/bmhost or --dir DIR, for the machine's names and addresses and each\n"
            "--server-name NAME, and shows the SHA-256 by which a client knows the certificate, which nobody else\n"
            "has signed. It is valid for 825 days. --force replaces files that are there.\n")
        .Example("bmhost tls-init --dir .")
        .Run([made](Context&) -> bool {
            std::vector<std::string> words = {"tls-init"};
            words.insert(words.end(), made->m_all.begin(), made->m_all.end());
            BecomeProgram("bmhost-web", words);
        });
}

} // namespace bmhost
