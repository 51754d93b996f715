// What a command's run works with, beside its own options.
#include "host/context/Context.h"

#include "host/client/HostClient.h"
#include "host/client/HostOwner.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/views/LookJson.h"
#include "host/views/Views.h"
#include "host/words/Command.h"
#include "host/words/Error.h"

#include <cstdio>
#include <stdexcept>

namespace bmhost {

namespace {

void ShowRemarks(const std::string& remarks) {
    for (std::size_t begin = 0; begin < remarks.size();) {
        const std::size_t end = remarks.find('\n', begin);
        fprintf(stderr, "bmhost: %s\n", remarks.substr(begin, end - begin).c_str());
        begin = end + 1;
    }
}

} // namespace
OrderOutcome Context::Give(const Order&) {
    throw std::runtime_error("no order can be given here");
}

void RefuseBesideHost(Context& context, const std::string& what) {
    HostClient* const host = context.Host();
    if (host == nullptr) return;
    const HostEnd end = host->End();
    if (end.m_place.m_elsewhere != nullptr)
        throw OtherHostError("another host has the blade, " + HostText(end) + ": " + what +
                             " is for an adaptor of one's own");
    const auto owner = OwnerOf(end.m_place);
    throw OtherHostError(
        "another host has the blade: " + (owner ? owner->Text() : "bmhostd, process " + std::to_string(end.m_process)) +
        "; --direct gives " + what + " an adaptor of its own");
}

bool Do(const Command& command, Context& context) {
    CheckIsNotElsewhere(command, context.Globals());
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
    if (!good || !context.Globals().m_quiet) ShowRemarks(remarks);
    return good;
}

bool RunLook(Context& context, const View& view) {
    const Picture picture = context.Look();
    const bool good = view.m_isGood(picture);
    const std::string text = context.Globals().m_json
                                 ? LookJson(view.m_operation, good, picture)
                                 : view.m_text(picture, StyleOf(context.Output(), context.Globals().m_wide));
    fflush(stdout);
    WriteAll(context.Output(), text);
    const bool quiet = context.Globals().m_quiet;
    if (view.m_remarks != nullptr && !(good && quiet)) ShowRemarks(view.m_remarks(picture));
    if (picture.m_source.IsSimulated()) {
        const bool meant = context.Globals().m_simulated;
        if (!meant) context.EndWith(ExitSimulated);
        if (!(meant && quiet)) fprintf(stderr, "bmhost: %s\n", SourceText(picture.m_source).c_str());
    }
    return good;
}

} // namespace bmhost
