// What bladesim's commands for a running blade have in common: the whole command line is read before anything is done.
#include "sim/orders/OrderCommand.h"

#include "sim/base/ExitStatus.h"

#include <cstdio>
#include <exception>
#include <utility>

namespace bladesim {

OrderCommand::OrderCommand() : m_app("Speaks with the blade in which it runs.", "bladesim") {
    m_app.require_subcommand(1);
}

int OrderCommand::Run(int count, char** arguments) {
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
