// What bladesim's commands for a blade that runs have in common: a command line is read whole before anything is done.
#include "sim/orders/OrderCommand.h"

#include "sim/base/ExitStatus.h"

#include <cstdio>
#include <exception>
#include <utility>

namespace BLADESIM {

ORDER_COMMAND::ORDER_COMMAND() : m_App("Speaks with the blade in which it runs.", "bladesim") {
    m_App.require_subcommand(1);
}

int ORDER_COMMAND::Run(int a_Count, char** a_Arguments) {
    try {
        m_App.parse(a_Count, a_Arguments);
        // Only now that the whole line has turned out right.
        m_Do();
        return 0;
    } catch (const CLI::ParseError& l_Error) {
        return m_App.exit(l_Error) == 0 ? 0 : g_BadUsage;
    } catch (const std::exception& l_Error) {
        std::fprintf(stderr, "bladesim: %s\n", BM_PLATFORM::Printable(l_Error.what(), "\n").c_str());
        return g_NotBroughtUp;
    }
}

CLI::App& ORDER_COMMAND::AddCommand(const std::string& a_Word, const std::string& a_Description) {
    return *m_App.add_subcommand(a_Word, a_Description);
}

void ORDER_COMMAND::Does(CLI::App& a_Command, std::function<void()> a_Do) {
    a_Command.callback([this, l_Do = std::move(a_Do)] { m_Do = l_Do; });
}

void Print(const std::string& a_Text) {
    std::fwrite(a_Text.data(), 1, a_Text.size(), stdout);
}

} // namespace BLADESIM
