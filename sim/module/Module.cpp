// The carrier as a module of ipmi_sim: loadlib "bladesim_carrier.so" "BLADE FILE" makes it answer for every FRU of the
// blade.
#include "sim/blade/BladeFile.h"
#include "sim/module/CarrierReport.h"
#include "sim/module/Responder.h"

#include <OpenIPMI/ipmi_err.h>
#include <OpenIPMI/ipmi_msgbits.h>
#include <OpenIPMI/ipmi_picmg.h>

// These headers do not declare themselves as C.
extern "C" {
#include <OpenIPMI/mcserv.h>
}

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <string_view>

namespace bladesim {
namespace {

// From the module's start to the end of the process; ipmi_sim is one thread.
std::unique_ptr<Responder> loadedCarrier;

void Log(const char* text) {
    std::fprintf(stderr, "bladesim_carrier: %s\n", text);
}

/// ipmi_sim is C: no exception may reach it.
template <typename Answer>
void WriteReply(unsigned char* reply, unsigned int* length, Answer answer) {
    try {
        const Reply bytes = answer();
        assert(!bytes.empty() && bytes.size() <= MaxReply);
        std::copy(bytes.begin(), bytes.end(), reply);
        *length = static_cast<unsigned int>(bytes.size());
    } catch (const std::exception& error) {
        Log(error.what());
        reply[0] = IPMI_UNKNOWN_ERR_CC;
        *length = 1;
    }
}

void AnswerRequest(lmc_data_t* /*controller*/, msg_t* request, unsigned char* reply, unsigned int* length,
                   void* /*data*/) {
    WriteReply(reply, length, [&] {
        return loadedCarrier->Answer(request->netfn, request->cmd, {request->data, request->len}, LedClock::now());
    });
}

struct AnsweredCommand {
    uint8_t m_netFn;
    uint8_t m_command;
};

constexpr AnsweredCommand AnsweredCommands[] = {
    {IPMI_APP_NETFN, IPMI_GET_DEVICE_ID_CMD},
    {IPMI_STORAGE_NETFN, IPMI_GET_FRU_INVENTORY_AREA_INFO_CMD},
    {IPMI_STORAGE_NETFN, IPMI_READ_FRU_DATA_CMD},
    {IPMI_STORAGE_NETFN, IPMI_WRITE_FRU_DATA_CMD},
};

/// A list of any length on one line, in pieces, since ipmi_sim prints only a limited length at a time.
void Print(emu_out_t* out, const std::vector<std::string>& objects) {
    static char text[] = "%s%s";
    const char* before = "[";
    for (const std::string& object : objects) {
        out->eprintf(out, text, before, object.c_str());
        before = ",";
    }
    out->eprintf(out, text, objects.empty() ? "[" : "", "]\n");
}

/// The console command: `blade leds`, `blade controls`.
int BladeCommand(emu_out_t* out, emu_data_t* /*simulator*/, lmc_data_t* /*controller*/, char** words) {
    try {
        const char* const word = mystrtok(nullptr, " \t\r\n", words);
        const std::string_view what = word == nullptr ? "" : word;
        if (what == "leds") {
            Print(out, DescribeLEDs(loadedCarrier->Served(), LedClock::now()));
        } else if (what == "controls") {
            Print(out, DescribeControls(loadedCarrier->Served()));
        } else {
            static char usage[] = "usage: blade leds|controls\n";
            out->eprintf(out, usage);
            return EINVAL;
        }
        return 0;
    } catch (const std::exception& error) {
        Log(error.what());
        return EIO;
    }
}

} // namespace
} // namespace bladesim

#define BLADESIM_EXPORT __attribute__((visibility("default")))

extern "C" {

// NOLINTBEGIN(readability-identifier-naming): ipmi_sim looks these three up by name.

BLADESIM_EXPORT int ipmi_sim_module_print_version(sys_data_t* /*system*/, const char* /*options*/) {
    std::printf("bladesim_carrier %s\n", BLADESIM_VERSION);
    return 0;
}

/// Reads the blade; an error goes to ipmi_sim's log, and ipmi_sim does not start.
BLADESIM_EXPORT int ipmi_sim_module_init(sys_data_t* /*system*/, const char* options) {
    using namespace bladesim;
    try {
        const Blade blade = ReadBladeFile(options == nullptr ? "" : options);
        loadedCarrier = std::make_unique<Responder>(blade);
        // Without this ipmi_sim ends when a client leaves its console before the prompt.
        std::signal(SIGPIPE, SIG_IGN);
        return 0;
    } catch (const std::exception& error) {
        Log(error.what());
        return EINVAL;
    }
}

/// Called after the commands that make the controller, to replace ipmi_sim's own handlers. ipmi_sim ignores the result.
BLADESIM_EXPORT int ipmi_sim_module_post_init(sys_data_t* /*system*/) {
    using namespace bladesim;
    ipmi_emu_register_group_extension_handler(IPMI_PICMG_GRP_EXT, AnswerRequest, nullptr);
    int error = ipmi_emu_add_cmd("blade", NOMC, BladeCommand);
    for (const AnsweredCommand& answered : AnsweredCommands) {
        if (error != 0) break;
        error = ipmi_emu_register_cmd_handler(answered.m_netFn, answered.m_command, AnswerRequest, nullptr);
    }
    if (error != 0) Log(std::strerror(error));
    return error;
}

// NOLINTEND(readability-identifier-naming)
}
