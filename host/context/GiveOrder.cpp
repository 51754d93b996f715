// Orders as commands give them: asked for where a slip would hurt, and shown with their outcome.
#include "host/context/GiveOrder.h"

#include "host/context/Context.h"
#include "host/orders/OwnUpgrade.h"
#include "host/output/Redirect.h"
#include "host/session/Session.h"
#include "host/words/Error.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace bmhost {

namespace {

void Remark(const std::string& text) {
    fprintf(stderr, "bmhost: %s\n", bm_dev::Printable(text, "\t").c_str());
}

// What the remarks have already told is not told again.
bool IsTold(const OrderOutcome& outcome, const std::string& reason) {
    return std::ranges::any_of(outcome.m_remarks, [&](const std::string& remark) {
        constexpr std::string_view storage = "the storage said: ";
        return remark.starts_with(storage) && reason.ends_with(std::string_view(remark).substr(storage.size()));
    });
}

void Show(const OrderOutcome& outcome, int output, bool quiet) {
    fflush(stdout);
    WriteAll(output, outcome.m_text);
    if (quiet && outcome.m_good) return;
    for (const std::string& remark : outcome.m_remarks)
        Remark(remark);
    for (const std::string& reason : outcome.m_reasons) {
        if (!IsTold(outcome, reason)) Remark("the adaptor logged: " + reason);
    }
    if (!outcome.m_cure.empty()) Remark(outcome.m_cure);
}

// The modules and their versions.
Picture PictureForUpgrade(Session& session) {
    Picture picture;
    const auto rows = [](const std::unique_ptr<BM_ADAPTOR::CBMITable>& table) {
        std::vector<BM_ADAPTOR::CBMIParams> all;
        for (int i = 0; table != nullptr && i < table->GetSize(); ++i)
            all.push_back(*table->Get(i));
        return all;
    };
    int modulesResult = 0;
    picture.m_inventory.m_board =
        rows(session.Table(BM_ADAPTOR::BMI_GROUP_HARDWARE_BOARD, picture.m_inventory.m_result));
    picture.m_inventory.m_modules = rows(session.Table(BM_ADAPTOR::BMI_GROUP_HARDWARE_AMC_TABLE, modulesResult));
    return picture;
}

std::string LineFrom(int descriptor) {
    std::string line;
    char letter = 0;
    for (;;) {
        const ssize_t got = read(descriptor, &letter, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0 || letter == '\n') return line;
        line += letter;
    }
}

} // namespace

std::string OrderLine(const std::string& name, const OrderOutcome& outcome) {
    nlohmann::ordered_json told = OrderOutcomeJson(name, outcome);
    nlohmann::ordered_json line = {{"op", name}};
    for (const char* each : {"result", "good", "changed"})
        line[each] = told[each];
    for (const auto& [key, value] : outcome.m_values.items())
        line[key] = value;
    for (const char* each : {"remarks", "reasons", "cure"})
        line[each] = told[each];
    return bm_dev::EscapedJson(line.dump()) + "\n";
}

namespace {

Order AsMeant(const Context& context, const Order& order) {
    Order given = order;
    if (context.Globals().m_simulated) given.m_values[OrderTakesSimulated] = true;
    return given;
}

} // namespace

bool GiveConfirmed(Context& context, const std::string& name, const Order& order, const std::string& question,
                   bool yes) {
    if (yes) return GiveOrder(context, name, order);
    const auto terminal = context.Terminal();
    if (!terminal) throw UsageError(name + ": expected --yes where there is no terminal to ask on");
    if (const auto refused = RefusedAsSimulated(AsMeant(context, order), context.SourceNow())) {
        context.EndWith(ExitSimulated);
        return ShowOutcome(context, name, *refused);
    }
    return ConfirmedAt(*terminal, question) && GiveOrder(context, name, order);
}

bool GiveOrder(Context& context, const std::string& name, const Order& order) {
    const Order given = AsMeant(context, order);
    CheckOrder(given);
    const OrderOutcome outcome = context.Give(given);
    if (IsRefusedAsSimulated(outcome)) context.EndWith(ExitSimulated);
    return ShowOutcome(context, name, outcome);
}

bool ShowOutcome(const Context& context, const std::string& name, const OrderOutcome& outcome) {
    if (context.Globals().m_json) {
        fflush(stdout);
        WriteAll(context.Output(), OrderLine(name, outcome));
    } else {
        Show(outcome, context.Output(), context.Globals().m_quiet);
    }
    return outcome.m_good;
}

bool Upgrades(const Order& order) {
    return order.m_name == "firmware-update" && !order.m_values.value("dry_run", false);
}

OrderOutcome CarryOutHere(Context& context, const Order& order, Session& session, int output) {
    if (!Upgrades(order)) {
        Picture picture;
        picture.m_source = context.SourceNow();
        return CarryOut(order, session, picture);
    }
    return UpgradeToTheEnd(order, session, PictureForUpgrade(session), context.Globals().m_json ? -1 : output,
                           !context.Globals().m_quiet);
}

std::string ProgramOf(const Order& order) {
    std::string name = order.m_name;
    std::ranges::replace(name, '-', ' ');
    return "bmhost " + name;
}

bool ConfirmedAt(int terminal, const std::string& question) {
    fprintf(stderr, "%s [y/N] ", question.c_str());
    const std::string answer = LineFrom(terminal);
    if (answer == "y" || answer == "Y" || answer == "yes") return true;
    fprintf(stderr, "bmhost: nothing was done\n");
    return false;
}

} // namespace bmhost
