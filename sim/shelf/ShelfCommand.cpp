// bladesim's command line for a shelf: `bladesim shelf …`.
#include "sim/shelf/ShelfCommand.h"

#include "bm_dev/Table.h"
#include "sim/base/Error.h"
#include "sim/base/ExitStatus.h"
#include "sim/base/Process.h"
#include "sim/life/Enter.h"
#include "sim/orders/ControlClient.h"
#include "sim/orders/OrderCommand.h"
#include "sim/shelf/Shelf.h"
#include "sim/shelf/ShelfFile.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace bladesim {
namespace {

using nlohmann::json;

constexpr char ShelfUsage[] =
    "Usage: bladesim shelf [N|FILE] -- COMMAND…\n"
    "In a shelf:\n"
    "       bladesim shelf list [--json]\n"
    "       bladesim shelf pull|insert|freeze|thaw NAME\n"
    "       bladesim shelf in NAME -- COMMAND…\n\n"
    "Brings up blades side by side, runs COMMAND beside them and takes everything down.\n\n"
    "There are N of them, 1 to 14 (14 unless given), or those that a shelf file names. Each has its resident host and, on\n"
    "https port 8443, its web door; COMMAND starts when every door answers, and asks them by their names, blade1 and so on.\n\n"
    "Orders, each of which has taken effect when it returns:\n"
    "  list           Show the blades: slot, name, address, state\n"
    "  pull NAME      Take a blade out: gone from the network, and without power\n"
    "  insert NAME    Put it back: it keeps address, name, certificate and storage\n"
    "  freeze NAME    Its controller stands still\n"
    "  thaw NAME      Its controller goes on\n"
    "  in NAME        Run COMMAND in a blade, for instance: bladesim shelf in blade3 -- bladesim tool set mavk_diag --exit 16\n\n"
    "Options:\n"
    "  --json         With list: one line of JSON\n"
    "  -h,--help      Print this help message and exit\n\n"
    "In COMMAND's environment:\n"
    "  BLADESIM_SHELF_CA        file with the certificate of the authority that has signed the doors' certificates\n"
    "  BLADESIM_SHELF_ACCOUNT   NAME:PASSWORD of an account that all doors know, an administrator's\n\n"
    "Exit status: that of COMMAND (128 and the signal's number when a signal ended it), 2 bad usage, 3 the shelf could not be\n"
    "brought up, or could not do what was asked of it.\n";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

using Words = std::vector<std::string>;

/// The words of bladesim's own, and those after "--".
struct ShelfLine {
    Words m_own;
    Words m_command;
    bool m_hasCommand = false;
};

ShelfLine Split(int count, char** arguments) {
    ShelfLine line;
    char** const begin = arguments + 2; // after "bladesim shelf"
    char** const end = arguments + count;
    char** const dashes = std::find_if(begin, end, [](const char* word) { return word == std::string_view("--"); });
    line.m_own.assign(begin, dashes);
    line.m_hasCommand = dashes != end;
    if (line.m_hasCommand) line.m_command.assign(dashes + 1, end);
    return line;
}

json Order(const std::string& name, const json& order = json::object()) {
    return GiveOrderAt(ShelfAddressForOrders(), "this is not the inside of a shelf", name, order);
}

std::string Table(const json& blades) {
    bm_dev::TableRows rows{{{"SLOT"}, {"NAME"}, {"ADDRESS"}, {"BLADE"}, {"STATE"}}};
    for (const json& blade : blades) {
        const std::string reason = blade.contains("reason") ? ": " + blade["reason"].get<std::string>() : "";
        rows.push_back({{std::to_string(blade.at("slot").get<unsigned>())},
                        {blade.at("name").get<std::string>()},
                        {blade.at("address").get<std::string>()},
                        {blade.at("blade").get<std::string>()},
                        {blade.at("state").get<std::string>() + reason}});
    }
    return bm_dev::FormatTable(rows, false);
}

int List(const ShelfLine& line) {
    const bool asJson = line.m_own.size() == 2 && line.m_own[1] == "--json";
    if (line.m_hasCommand || line.m_own.size() > (asJson ? 2U : 1U))
        throw UsageError("list takes --json, and nothing else");
    const json blades = Order("list");
    Print(asJson ? JsonLine(blades) : Table(blades));
    return 0;
}

std::string NameIn(const ShelfLine& line) {
    if (line.m_own.size() != 2) throw UsageError(line.m_own.front() + " takes the NAME of one blade");
    return line.m_own[1];
}

int GiveToBlade(const ShelfLine& line) {
    const std::string name = NameIn(line);
    if (line.m_hasCommand) throw UsageError(line.m_own.front() + " takes no COMMAND");
    Order(line.m_own.front(), {{"name", name}});
    return 0;
}

/// As in any terminal of the blade: the folder is the caller's own where the blade has it.
int InBlade(const ShelfLine& line) {
    const std::string name = NameIn(line);
    if (line.m_command.empty()) throw UsageError("in takes a COMMAND after --");
    return RunInBlade(Order("in", {{"name", name}}).get<pid_t>(), line.m_command, false);
}

std::vector<ShelfPlace> PlacesOf(const std::string& word) {
    if (word.find_first_not_of("0123456789") != std::string::npos) return ReadShelfFile(word);
    unsigned number = 0;
    std::from_chars(word.data(), word.data() + word.size(), number);
    if (number >= 1 && number <= MaxSlots) return PlanOf(number);
    throw UsageError(word + ": expected a number of blades, 1 to " + std::to_string(MaxSlots));
}

int BringUp(const ShelfLine& line) {
    if (line.m_own.size() > 1) throw UsageError("unexpected \"" + line.m_own[1] + "\"");
    if (line.m_command.empty()) throw UsageError("a COMMAND is missing, after --");
    ShelfOptions options;
    options.m_places = line.m_own.empty() ? PlanOf(MaxSlots) : PlacesOf(line.m_own.front());
    options.m_paths = FindPaths();
    options.m_command = line.m_command;
    // Not with return: a sanitizer's leak check needs a /proc, which in a bare chroot only the inside has.
    std::_Exit(RunShelf(options));
}

struct OrderWord {
    std::string_view m_word;
    int (*m_run)(const ShelfLine& line);
};

constexpr OrderWord OrderWords[] = {
    {"list", List},          {"pull", GiveToBlade}, {"insert", GiveToBlade},
    {"freeze", GiveToBlade}, {"thaw", GiveToBlade}, {"in", InBlade},
};

int Run(const ShelfLine& line) {
    const std::string first = line.m_own.empty() ? "" : line.m_own.front();
    if (std::ranges::any_of(line.m_own, [](const std::string& word) { return word == "-h" || word == "--help"; })) {
        Print(ShelfUsage);
        return 0;
    }
    const auto* const order = std::ranges::find(OrderWords, first, &OrderWord::m_word);
    return order != std::end(OrderWords) ? order->m_run(line) : BringUp(line);
}

} // namespace

int RunShelfCommand(int count, char** arguments) {
    try {
        return Run(Split(count, arguments));
    } catch (const UsageError& error) {
        std::fprintf(stderr, "bladesim: shelf: %s\nRun with --help for more information.\n", error.what());
        return BadUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bladesim: %s\n", bm_dev::Printable(error.what(), "\n").c_str());
        return NotBroughtUp;
    }
}

} // namespace bladesim
