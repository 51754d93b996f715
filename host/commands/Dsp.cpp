// `bmhost dsp`: the DSPs of the blade with their addresses, and `dsp set-ip`: one of them given another.
#include "host/context/Context.h"
#include "host/context/GiveOrder.h"
#include "host/views/Views.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"
#include "host/words/Value.h"

namespace bmhost {

namespace {

constexpr int MostDsps = 32; // 4 on each of 8 AMCs

struct DspWords {
    std::string m_dsp;
    std::string m_address;
    bool m_force = false;
};

Order OrderOf(const DspWords& words) {
    const auto dsp = ParseNumber(words.m_dsp);
    if (!dsp || *dsp < 1 || *dsp > MostDsps) {
        throw UsageError("dsp set-ip: N '" + words.m_dsp + "': expected a DSP from 1 to " + std::to_string(MostDsps));
    }
    return {"dsp-set-ip", {{"dsp", *dsp}, {"address", words.m_address}, {"force", words.m_force}}};
}

} // namespace

void AddDsp(Commands& commands) {
    Command& family = commands.Add("dsp", "show the DSPs and their addresses", OnCommandLine | InShell);
    family
        .Details(
            "Every DSP that the AMCs have: its number across the blade, where it is, MAC and IP address. Without a\n"
            "resident host the IP address is the stored one.\n"
            "Status 0 when there are DSPs and each has its addresses.\n")
        .Example("bmhost --mode 1 dsp")
        .Run([](Context& context) {
            return RunLook(context, {"dsp", DspsText, DspsAreGood, DspsRemarks});
        });
    Command& setIp = family.Add("set-ip", "give a DSP another IP address");
    const auto words = setIp.Own<DspWords>();
    setIp.Word("N", words->m_dsp)
        .Word("ADDRESS", words->m_address)
        .Flag({"--force", "", "store an address that no start can use"}, words->m_force)
        .Details(
            "N is 1 to 32, as `dsp` counts. Shows the DSP as it is read afterwards. The address holds from the next start. Refused\n"
            "are another DSP's address, and those that start-up does not take: off the network of eth6, its own, the network's\n"
            "and the broadcast address. Status 0 when the address was stored.\n")
        .Example("bmhost dsp set-ip 4 192.168.0.25")
        .Run([words](Context& context) { return GiveOrder(context, "dsp set-ip", OrderOf(*words)); });
}

} // namespace bmhost
