// The carrier as a module of ipmi_sim: loadlib "bladesim_carrier.so" "BLADE FILE" makes it answer for every FRU of the
// blade.
#include "sim/blade/BladeFile.h"
#include "sim/module/CarrierReport.h"
#include "sim/module/InventoryAreas.h"

#include <OpenIPMI/ipmi_err.h>
#include <OpenIPMI/ipmi_msgbits.h>
#include <OpenIPMI/ipmi_picmg.h>

// These do not say of themselves that they are C.
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

namespace BLADESIM {
namespace {

// From the module's start to the end of the process; ipmi_sim is one thread.
std::unique_ptr<CARRIER> g_Carrier;
std::unique_ptr<INVENTORY_AREAS> g_Inventory;

void Log(const char* a_Text) {
    std::fprintf(stderr, "bladesim_carrier: %s\n", a_Text);
}

/// ipmi_sim is C: no exception may go there.
template <typename ANSWER>
void Reply(unsigned char* a_Reply, unsigned int* a_Length, ANSWER a_Answer) {
    try {
        const REPLY l_Reply = a_Answer();
        assert(!l_Reply.empty() && l_Reply.size() <= g_MaxReply);
        std::copy(l_Reply.begin(), l_Reply.end(), a_Reply);
        *a_Length = static_cast<unsigned int>(l_Reply.size());
    } catch (const std::exception& l_Error) {
        Log(l_Error.what());
        a_Reply[0] = IPMI_UNKNOWN_ERR_CC;
        *a_Length = 1;
    }
}

void AnswerPICMG(lmc_data_t* /*a_Controller*/, msg_t* a_Request, unsigned char* a_Reply, unsigned int* a_Length,
                 void* /*a_Data*/) {
    Reply(a_Reply, a_Length, [&] {
        return g_Carrier->Answer(a_Request->cmd, {a_Request->data, a_Request->len}, LED_CLOCK::now());
    });
}

void AnswerInventory(lmc_data_t* /*a_Controller*/, msg_t* a_Request, unsigned char* a_Reply, unsigned int* a_Length,
                     void* /*a_Data*/) {
    Reply(a_Reply, a_Length, [&] { return g_Inventory->Answer(a_Request->cmd, {a_Request->data, a_Request->len}); });
}

void AnswerDeviceId(lmc_data_t* /*a_Controller*/, msg_t* /*a_Request*/, unsigned char* a_Reply, unsigned int* a_Length,
                    void* /*a_Data*/) {
    Reply(a_Reply, a_Length, [] { return g_Carrier->DeviceId(); });
}

struct COMMAND_HANDLER {
    uint8_t m_NetFn;
    uint8_t m_Command;
    cmd_handler_f m_Handler;
};

constexpr COMMAND_HANDLER g_Handlers[] = {
    {IPMI_APP_NETFN, IPMI_GET_DEVICE_ID_CMD, AnswerDeviceId},
    {IPMI_STORAGE_NETFN, IPMI_GET_FRU_INVENTORY_AREA_INFO_CMD, AnswerInventory},
    {IPMI_STORAGE_NETFN, IPMI_READ_FRU_DATA_CMD, AnswerInventory},
    {IPMI_STORAGE_NETFN, IPMI_WRITE_FRU_DATA_CMD, AnswerInventory},
};

/// A list of any length on one line: ipmi_sim prints only so much at a time.
void Print(emu_out_t* a_Out, const std::vector<std::string>& a_Objects) {
    static char s_Text[] = "%s%s";
    const char* l_Before = "[";
    for (const std::string& l_Object : a_Objects) {
        a_Out->eprintf(a_Out, s_Text, l_Before, l_Object.c_str());
        l_Before = ",";
    }
    a_Out->eprintf(a_Out, s_Text, a_Objects.empty() ? "[" : "", "]\n");
}

/// The console command: `blade leds`, `blade controls`.
int BladeCommand(emu_out_t* a_Out, emu_data_t* /*a_Simulator*/, lmc_data_t* /*a_Controller*/, char** a_Words) {
    try {
        const char* const l_Word = mystrtok(nullptr, " \t\r\n", a_Words);
        const std::string_view l_What = l_Word == nullptr ? "" : l_Word;
        if (l_What == "leds") {
            Print(a_Out, DescribeLEDs(*g_Carrier, LED_CLOCK::now()));
        } else if (l_What == "controls") {
            Print(a_Out, DescribeControls(*g_Carrier));
        } else {
            static char s_Usage[] = "usage: blade leds|controls\n";
            a_Out->eprintf(a_Out, s_Usage);
            return EINVAL;
        }
        return 0;
    } catch (const std::exception& l_Error) {
        Log(l_Error.what());
        return EIO;
    }
}

} // namespace
} // namespace BLADESIM

#define BLADESIM_EXPORT __attribute__((visibility("default")))

extern "C" {

BLADESIM_EXPORT int ipmi_sim_module_print_version(sys_data_t* /*a_System*/, const char* /*a_Options*/) {
    std::printf("bladesim_carrier %s\n", BLADESIM_VERSION);
    return 0;
}

/// Reads the blade; what is wrong with it goes to ipmi_sim's log, and ipmi_sim does not start.
BLADESIM_EXPORT int ipmi_sim_module_init(sys_data_t* /*a_System*/, const char* a_Options) {
    using namespace BLADESIM;
    try {
        const BLADE l_Blade = ReadBladeFile(a_Options == nullptr ? "" : a_Options);
        g_Carrier = std::make_unique<CARRIER>(l_Blade);
        g_Inventory = std::make_unique<INVENTORY_AREAS>(l_Blade);
        // Else ipmi_sim ends when somebody leaves its console before the prompt has come.
        std::signal(SIGPIPE, SIG_IGN);
        return 0;
    } catch (const std::exception& l_Error) {
        Log(l_Error.what());
        return EINVAL;
    }
}

/// After the commands that make the controller: handlers of ipmi_sim's own are replaced here. Nobody looks at the
/// result.
BLADESIM_EXPORT int ipmi_sim_module_post_init(sys_data_t* /*a_System*/) {
    using namespace BLADESIM;
    ipmi_emu_register_group_extension_handler(IPMI_PICMG_GRP_EXT, AnswerPICMG, nullptr);
    int l_Error = ipmi_emu_add_cmd("blade", NOMC, BladeCommand);
    for (const COMMAND_HANDLER& l_Handler : g_Handlers) {
        if (l_Error != 0) break;
        l_Error = ipmi_emu_register_cmd_handler(l_Handler.m_NetFn, l_Handler.m_Command, l_Handler.m_Handler, nullptr);
    }
    if (l_Error != 0) Log(std::strerror(l_Error));
    return l_Error;
}
}
