// `bmhost dsp`: the DSPs of the blade with their addresses, and `dsp set-ip`: one of them given another.
#include "common/veldo_common_protocol.h"
#include "host/commands/Context.h"
#include "host/output/TextOutput.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

#include <arpa/inet.h>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr int MostDsps = 32; // 4 on each of 8 AMCs

using Lines = std::vector<std::vector<std::string>>;

const std::vector<std::string> DspHeading = {"DSP", "AMC bay", "DSP of AMC", "MAC address", "IP address"};

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
    Lines lines = {DspHeading};
    bool lacks = false;
    allGood = result == Success && table != nullptr && table->GetSize() > 0;
    for (int i = 0; table != nullptr && i < table->GetSize(); ++i) {
        const CBMIParams& row = *table->Get(i);
        bool good = false;
        const std::string address = AddressOf(session, i + 1, good);
        allGood = allGood && good;
        lacks = lacks || address == None || address == NotRead;
        lines.push_back({std::to_string(i + 1), TextOf(row, BMI_HW_AMC_DSP_BAY), TextOf(row, BMI_HW_AMC_DSP_NUM),
                         TextOf(row, BMI_HW_AMC_DSP_MAC), address});
    }
    if (lacks) AddStorageRemark(session, remarks);
    return lines;
}

struct DspWords {
    std::string m_dsp;
    std::string m_address;
};

struct DspOrder {
    int m_dsp = 0; ///< counted from 1 across the blade
    std::string m_address;
};

DspOrder OrderOf(const DspWords& words) {
    const auto dsp = ParseNumber(words.m_dsp);
    if (!dsp || *dsp < 1 || *dsp > MostDsps) {
        throw UsageError("dsp set-ip: N '" + words.m_dsp + "': expected a DSP from 1 to " + std::to_string(MostDsps));
    }
    in_addr address{};
    if (inet_pton(AF_INET, words.m_address.c_str(), &address) != 1) {
        throw UsageError("dsp set-ip: ADDRESS '" + words.m_address +
                         "': expected four numbers from 0 to 255 with dots between");
    }
    return {static_cast<int>(*dsp), words.m_address};
}

// When a DSP lacks its address, and the storage has told a reason, that is a remark. True when there is one and each
// has its addresses.
bool DspTable(Session& session, bool color, std::string& text, std::string& remarks) {
    bool allGood = false;
    const Lines lines = DspLines(session, allGood, remarks);
    text += lines.size() > 1 ? AlignedTable(lines, color) : "no DSP\n";
    return allGood;
}

// Shows the DSP as it is read afterwards, or remarks why it was refused. True when the address was stored.
bool SetDspAddress(Session& session, const DspOrder& order, bool color, std::string& text, std::string& remarks) {
    CBMIKeys keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, order.m_dsp);
    CBMIParam address(BMI_PARAM_STRING, BMI_HW_AMC_DSP_EX_IP, false);
    address.SetString(order.m_address);
    CBMIParams values;
    values.Add(address);
    const int result = session.WriteRow(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, keys, values);
    if (result != Success) {
        remarks += "DSP " + std::to_string(order.m_dsp) + ": " +
                   (result == NoRow ? std::string("there is no such DSP, or it is not in service")
                                    : "the address was not stored") +
                   "; the adaptor answered " + ResultText(result) + "\n";
        if (result != NoRow) AddStorageRemark(session, remarks);
        return false;
    }
    bool allGood = false;
    std::string ofOthers;
    const Lines lines = DspLines(session, allGood, ofOthers);
    const auto line = static_cast<std::size_t>(order.m_dsp);
    if (line < lines.size()) text += AlignedTable({DspHeading, lines[line]}, color);
    return true;
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
    setIp.ForPeople()
        .Word("N", words->m_dsp)
        .Word("ADDRESS", words->m_address)
        .Details(
            "N is 1 to 32, as `dsp` counts. Shows the DSP as it is read afterwards. Status 0 when the address was stored.\n")
        .Example("bmhost dsp set-ip 4 192.168.0.25")
        .Run([words](Context& context) {
            const DspOrder order = OrderOf(*words);
            return RunForPeople(context, [&](Session& session, bool color, std::string& text, std::string& remarks) {
                return SetDspAddress(session, order, color, text, remarks);
            });
        });
}

} // namespace bmhost
