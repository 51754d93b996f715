// What bladesim's commands for a running blade have in common: the whole command line is read before anything is done.
#include "sim/orders/OrderCommand.h"

#include "bm_dev/Nearest.h"
#include "sim/base/ExitStatus.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <utility>
#include <vector>

namespace bladesim {

OrderCommand::OrderCommand() : m_app("Speaks with the blade in which it runs.", "bladesim") {
    m_app.require_subcommand(1);
}

int OrderCommand::Run(int count, char** arguments) {
    // What the parser says of such a word names none of those that there are.
    if (const std::string mistyped = Mistyped(count, arguments); !mistyped.empty())
        std::fprintf(stderr, "bladesim: %s\n", bm_dev::Printable(mistyped, "\n").c_str());
    try {
        m_app.parse(count, arguments);
        // Only now is the whole line known to be right.
        m_do();
        return 0;
    } catch (const CLI::ParseError& error) {
        return m_app.exit(error) == 0 ? 0 : BadUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bladesim: %s\n", bm_dev::Printable(error.what(), "\n").c_str());
        return NotBroughtUp;
    }
}

/// What is wrong with the order after the command's word, when the command has none of that name.
std::string OrderCommand::Mistyped(int count, char** arguments) const {
    if (count < 3 || arguments[2][0] == '-') return "";
    const auto any = [](const CLI::App*) { return true; };
    std::vector<std::string> orders;
    for (const CLI::App* const command : m_app.get_subcommands(any)) {
        if (command->get_name() != arguments[1]) continue;
        for (const CLI::App* const order : command->get_subcommands(any))
            orders.push_back(order->get_name());
    }
    const std::string word = arguments[2];
    if (orders.empty() || std::ranges::find(orders, word) != orders.end()) return "";
    std::string all;
    for (const std::string& order : orders)
        all += (all.empty() ? "" : ", ") + order;
    return std::string(arguments[1]) + " has no order " + word + bm_dev::DidYouMean(word, orders) + " (" + all + ")";
}

CLI::App& OrderCommand::AddCommand(const std::string& word, const std::string& description) {
    return *m_app.add_subcommand(word, description);
}

void OrderCommand::Does(CLI::App& command, std::function<void()> deed) {
    command.callback([this, action = std::move(deed)] { m_do = action; });
}

void Print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

} // namespace bladesim
