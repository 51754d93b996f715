// `bmhost dsp`: the DSPs of the blade with their addresses, and `dsp set-ip`: one of them given another.
#include "common/veldo_common_protocol.h"
#include "host/commands/Context.h"
#include "host/commands/GiveOrder.h"
#include "host/output/TextOutput.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/views/BoardLines.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr int MostDsps = 32; // 4 on each of 8 AMCs

using Lines = std::vector<std::vector<std::string>>;

constexpr const char* None = "none";
constexpr const char* NotRead = "not read";

// The address of a DSP, or why there is none. DSPs are numbered by the rows of the AMCs' table.
std::string AddressOf(Session& session, int dsp, bool& good) {
    const std::size_t told = session.Complaints().m_count;
    int result = 0;
    const auto row = session.Row(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, KeyOf(BMI_HW_AMC_DSP_EX_NUM, dsp), result);
    good = result == Success && row != nullptr;
    if (good) return TextOf(*row, BMI_HW_AMC_DSP_EX_IP);
    if (result == NoRow) return "not in service";
    return session.Complaints().m_count == told ? None : NotRead;
}

// The adaptor's results do not tell a refusal of the storage from an address that nobody has given.
void AddStorageRemark(const Session& session, std::string& remarks) {
    if (session.Complaints().m_count != 0) remarks += "the storage said: " + session.Complaints().m_last + "\n";
}

Lines DspLines(Session& session, bool& allGood, std::string& remarks) {
    int result = 0;
    const auto table = session.Table(BMI_GROUP_HARDWARE_AMC_DSP_TABLE, result);
    Lines lines = {DspHeading()};
    bool lacks = false;
    allGood = result == Success && table != nullptr && table->GetSize() > 0;
    for (int i = 0; table != nullptr && i < table->GetSize(); ++i) {
        const CBMIParams& row = *table->Get(i);
        bool good = false;
        const std::string address = AddressOf(session, i + 1, good);
        allGood = allGood && good;
        lacks = lacks || address == None || address == NotRead;
        lines.push_back(DspLine(i + 1, row, address));
    }
    if (lacks) AddStorageRemark(session, remarks);
    return lines;
}

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

// When a DSP lacks its address, and the storage has told a reason, that is a remark. True when there is one and each
// has its addresses.
bool DspTable(Session& session, bool color, std::string& text, std::string& remarks) {
    bool allGood = false;
    const Lines lines = DspLines(session, allGood, remarks);
    text += lines.size() > 1 ? AlignedTable(lines, color) : "no DSP\n";
    return allGood;
}

} // namespace

void AddDsp(Commands& commands) {
    Command& family = commands.Add("dsp", "show the DSPs and their addresses", OnCommandLine | InShell);
    family.ForPeople()
        .Details("Every DSP that the AMCs have: its number across the blade, where it is, MAC and IP address.\n"
                 "Status 0 when there are DSPs and each has its addresses.\n")
        .Example("bmhost dsp")
        .Run([](Context& context) { return RunForPeople(context, DspTable); });
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
