// bladesim's commands list and attach: the blades that there are, and those that run.
#include "sim/orders/ListCommand.h"

#include "bm_dev/Nearest.h"
#include "bm_dev/Table.h"
#include "sim/base/Error.h"
#include "sim/base/Paths.h"
#include "sim/blade/BladeFile.h"
#include "sim/life/Enter.h"
#include "sim/life/Register.h"
#include "sim/orders/OrderCommand.h"

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace bladesim {
namespace {

using nlohmann::ordered_json;

ordered_json Shipped() {
    const Paths paths = FindPaths();
    ordered_json blades = ordered_json::array();
    for (const std::string& name : ShippedBlades(paths)) {
        const Blade blade = ReadBladeFile(FindBlade(paths, paths.m_blades + "/" + name + ".json"));
        blades.push_back({{"blade", name}, {"description", blade.m_description}});
    }
    return blades;
}

std::string TableOf(const ordered_json& blades) {
    bm_dev::TableRows rows = {{{"BLADE"}, {"DESCRIPTION"}}};
    for (const ordered_json& blade : blades)
        rows.push_back({{blade.at("blade")}, {blade.at("description")}});
    return bm_dev::FormatTable(rows, false);
}

class ListCommand : public OrderCommand {
public:
    ListCommand() {
        CLI::App& list = AddCommand("list", "Show the blades that came with bladesim");
        AddJson(list);
        Does(list, [this] {
            const ordered_json blades = Shipped();
            Print(m_json ? JsonLine(blades) : TableOf(blades));
        });
    }
};

std::string CommandOf(const RunningBlade& blade) {
    std::string words;
    for (const std::string& word : blade.m_command)
        words += (words.empty() ? "" : " ") + word;
    return words;
}

std::string TableOf(const std::vector<RunningBlade>& blades) {
    bm_dev::TableRows rows = {{{"NAME"}, {"BLADE"}, {"PROCESS"}, {"COMMAND"}}};
    for (const RunningBlade& blade : blades)
        rows.push_back({{blade.m_name}, {blade.m_blade}, {std::to_string(blade.m_process)}, {CommandOf(blade)}});
    std::string table = bm_dev::FormatTable(rows, false);
    table.pop_back(); // an error ends with a line's end of its own
    return table;
}

/// The blade of this name; without a name, the only one.
const RunningBlade& Find(const std::vector<RunningBlade>& blades, const std::string& name) {
    if (blades.empty()) throw BladeError("no blade of this user is running");
    if (name.empty() && blades.size() == 1) return blades.front();
    if (name.empty()) throw BladeError("several blades are running; which one?\n" + TableOf(blades));
    const auto found = std::ranges::find(blades, name, &RunningBlade::m_name);
    if (found != blades.end()) return *found;
    std::vector<std::string> names;
    for (const RunningBlade& blade : blades)
        names.push_back(blade.m_name);
    throw BladeError("no blade with the name " + name + " is running" + bm_dev::DidYouMean(name, names) + "\n" +
                     TableOf(blades));
}

std::vector<std::string> Shell() {
    const char* const shell = std::getenv("SHELL");
    return {shell != nullptr && shell[0] == '/' && ::access(shell, X_OK) == 0 ? shell : "/bin/sh"};
}

class AttachCommand : public OrderCommand {
public:
    explicit AttachCommand(std::vector<std::string> command) : m_command(std::move(command)) {
        CLI::App& attach = AddCommand("attach", "Run a command, or a shell, in a blade that is running");
        attach.footer(
            "Words after -- are the command to run, instead of a shell. It has the namespaces, the environment and the rights\n"
            "of the blade's own command, and ends with the blade at the latest.");
        attach.add_option("NAME", m_name, "The blade; may be left out when only one is running")->type_name("");
        Does(attach, [this] {
            const RunningBlade blade = Find(RunningBlades(RegisterFolder()), m_name);
            m_status = RunInBlade(blade.m_process, m_command.empty() ? Shell() : m_command, m_command.empty());
        });
    }

    int Status() const { return m_status; }

private:
    std::string m_name;
    std::vector<std::string> m_command;
    int m_status = 0;
};

} // namespace

int RunListCommand(int count, char** arguments) {
    return ListCommand().Run(count, arguments);
}

int RunAttachCommand(int count, char** arguments) {
    // Words after "--" are the command's own.
    char** const end = arguments + count;
    char** const own = std::find_if(arguments, end, [](const char* word) { return word == std::string_view("--"); });
    AttachCommand attach(own == end ? std::vector<std::string>() : std::vector<std::string>(own + 1, end));
    const int status = attach.Run(static_cast<int>(own - arguments), arguments);
    return status != 0 ? status : attach.Status();
}

} // namespace bladesim
