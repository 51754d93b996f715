// A blade elsewhere, as the options name it.
#include "host/connect/Elsewhere.h"
#include "host/connect/PasswordFile.h"
#include "host/context/GlobalOptions.h"
#include "host/words/Command.h"
#include "host/words/Error.h"

#include <memory>
#include <string>
#include <utility>

namespace bmhost {

namespace {

void CheckTogether(const GlobalOptions& options) {
    if (options.m_direct) throw UsageError("--direct: the blade of --connect has its own host and adaptor");
    if (options.m_account.empty() != options.m_passwordFile.empty())
        throw UsageError("--account NAME and --password-file FILE go together: who asks, and how it is shown");
    // Either would be read as another account.
    if (options.m_account.find(':') != std::string::npos) throw UsageError("--account: no account has ':' in its name");
}

} // namespace

void CheckIsNotElsewhere(const Command& command, const GlobalOptions& options) {
    if (!options.m_connect.empty() && command.IsOnlyHere())
        throw UsageError("--connect: `bmhost " + command.Path() +
                         "` is for the machine that it runs on; give it there");
}

void TakeElsewhere(const Command& command, GlobalOptions& options) {
    if (options.m_connect.empty()) {
        for (const auto& [name, given] : {std::pair{"--account", &options.m_account},
                                          {"--password-file", &options.m_passwordFile},
                                          {"--tls-ca", &options.m_tlsCa}}) {
            if (!given->empty()) throw UsageError(std::string(name) + " goes with --connect URL only");
        }
        return;
    }
    CheckIsNotElsewhere(command, options);
    CheckTogether(options);
    auto place = std::make_shared<Elsewhere>(ElsewhereOf(options.m_connect));
    if (!place->m_tls && !options.m_tlsCa.empty()) throw UsageError("--tls-ca: http:// has no certificate");
    place->m_tlsCa = options.m_tlsCa;
    place->m_account = options.m_account;
    if (!options.m_passwordFile.empty()) place->m_password = PasswordIn(options.m_passwordFile);
    options.m_elsewhere = std::move(place);
}

HostPlace PlaceOf(const GlobalOptions& options) {
    if (options.m_elsewhere != nullptr) return {"", options.m_elsewhere};
    return PlaceOfHost();
}

} // namespace bmhost
