// What a command's run works with, beside its own options.
#include "host/commands/Context.h"

#include "host/client/HostClient.h"
#include "host/client/HostOwner.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/words/Command.h"
#include "host/words/Error.h"

#include <cstdio>
#include <stdexcept>

namespace bmhost {

Picture Context::Look() {
    throw std::runtime_error("no picture of the blade is to be had here");
}

OrderOutcome Context::Give(const Order&) {
    throw std::runtime_error("no order can be given here");
}

void RefuseBesideHost(Context& context, const std::string& what) {
    HostClient* const host = context.Host();
    if (host == nullptr) return;
    const HostEnd end = host->End();
    const auto owner = OwnerOf(end.m_place);
    throw OtherHostError(
        "another host has the blade: " + (owner ? owner->Text() : "bmhostd, process " + std::to_string(end.m_process)) +
        "; --direct gives " + what + " an adaptor of its own");
}

bool Do(const Command& command, Context& context) {
    if (command.IsForPeople() && context.Globals().m_json)
        throw UsageError(command.Path() + " is for people: expected it without --json");
    return command.Runs()(context);
}

bool RunForPeople(Context& context, const ForPeople& command) {
    int output = context.Output();
    std::string text;
    std::string remarks;
    const bool good = context.WithSession([&](Session& session, int descriptor) {
        output = descriptor;
        return command(session, ColorWanted(descriptor), text, remarks);
    });
    fflush(stdout);
    WriteAll(output, text);
    if (good && context.Globals().m_quiet) return good;
    for (std::size_t begin = 0; begin < remarks.size();) {
        const std::size_t end = remarks.find('\n', begin);
        fprintf(stderr, "bmhost: %s\n", remarks.substr(begin, end - begin).c_str());
        begin = end + 1;
    }
    return good;
}

} // namespace bmhost
