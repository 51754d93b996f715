// `bmhost dsp`: the DSPs of the blade with their addresses, and `dsp set-ip`: one of them given another.
#include "host/commands/Dsp.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/output/TextOutput.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/words/Error.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

#include <arpa/inet.h>

namespace BMHOST {

using namespace BM_ADAPTOR;

namespace {

constexpr int MOST_DSPS = 32; // 4 on each of 8 AMCs

using LINES = std::vector<std::vector<std::string>>;

const std::vector<std::string> DSP_HEADING = {"DSP", "AMC bay", "DSP of AMC", "MAC address", "IP address"};

constexpr const char* NONE = "none";
constexpr const char* NOT_READ = "not read";

// The address of a DSP, or why there is none. DSPs are numbered by the rows of the AMCs' table.
std::string AddressOf(SESSION& a_Session, int a_Dsp, bool& a_Good) {
    const std::size_t l_Told = a_Session.StorageLog().Count();
    int l_Result = 0;
    const auto l_Row =
        a_Session.Row(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, KeyOf(BMI_HW_AMC_DSP_EX_NUM, a_Dsp), l_Result);
    a_Good = l_Result == SUCCESS && l_Row != nullptr;
    if (a_Good) return TextOf(*l_Row, BMI_HW_AMC_DSP_EX_IP);
    if (l_Result == NO_ROW) return "not in service";
    return a_Session.StorageLog().Count() == l_Told ? NONE : NOT_READ;
}

// The adaptor's results do not tell a refusal of the storage from an address that nobody has given.
void AddStorageRemark(const SESSION& a_Session, std::string& a_Remarks) {
    if (a_Session.StorageLog().Count() != 0) a_Remarks += "the storage said: " + a_Session.StorageLog().Last() + "\n";
}

LINES DspLines(SESSION& a_Session, bool& a_AllGood, std::string& a_Remarks) {
    int l_Result = 0;
    const auto l_Table = a_Session.Table(BMI_GROUP_HARDWARE_AMC_DSP_TABLE, l_Result);
    LINES l_Lines = {DSP_HEADING};
    bool l_Lacks = false;
    a_AllGood = l_Result == SUCCESS && l_Table != nullptr && l_Table->GetSize() > 0;
    for (int i = 0; l_Table != nullptr && i < l_Table->GetSize(); ++i) {
        const CBMIParams& l_Row = *l_Table->Get(i);
        bool l_Good = false;
        const std::string l_Address = AddressOf(a_Session, i + 1, l_Good);
        a_AllGood = a_AllGood && l_Good;
        l_Lacks = l_Lacks || l_Address == NONE || l_Address == NOT_READ;
        l_Lines.push_back({std::to_string(i + 1), TextOf(l_Row, BMI_HW_AMC_DSP_BAY), TextOf(l_Row, BMI_HW_AMC_DSP_NUM),
                           TextOf(l_Row, BMI_HW_AMC_DSP_MAC), l_Address});
    }
    if (l_Lacks) AddStorageRemark(a_Session, a_Remarks);
    return l_Lines;
}

} // namespace

DSP_ORDER ParseDspOrder(const std::vector<std::string>& a_Words) {
    if (a_Words.size() != 4 || a_Words[1] != "set-ip") throw USAGE_ERROR("dsp: expected dsp, or dsp set-ip N ADDRESS");
    const auto l_Dsp = ParseNumber(a_Words[2]);
    if (!l_Dsp || *l_Dsp < 1 || *l_Dsp > MOST_DSPS) {
        throw USAGE_ERROR("dsp set-ip: N '" + a_Words[2] + "': expected a DSP from 1 to " + std::to_string(MOST_DSPS));
    }
    in_addr l_Address{};
    if (inet_pton(AF_INET, a_Words[3].c_str(), &l_Address) != 1) {
        throw USAGE_ERROR("dsp set-ip: ADDRESS '" + a_Words[3] +
                          "': expected four numbers from 0 to 255 with dots between");
    }
    return {static_cast<int>(*l_Dsp), a_Words[3]};
}

bool DspTable(SESSION& a_Session, bool a_Color, std::string& a_Text, std::string& a_Remarks) {
    bool l_AllGood = false;
    const LINES l_Lines = DspLines(a_Session, l_AllGood, a_Remarks);
    a_Text += l_Lines.size() > 1 ? AlignedTable(l_Lines, a_Color) : "no DSP\n";
    return l_AllGood;
}

bool SetDspAddress(SESSION& a_Session, const DSP_ORDER& a_Order, bool a_Color, std::string& a_Text,
                   std::string& a_Remarks) {
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, a_Order.m_Dsp);
    CBMIParam l_Address(BMI_PARAM_STRING, BMI_HW_AMC_DSP_EX_IP, false);
    l_Address.SetString(a_Order.m_Address);
    CBMIParams l_Values;
    l_Values.Add(l_Address);
    const int l_Result = a_Session.WriteRow(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, l_Keys, l_Values);
    if (l_Result != SUCCESS) {
        a_Remarks += "DSP " + std::to_string(a_Order.m_Dsp) + ": " +
                     (l_Result == NO_ROW ? std::string("there is no such DSP, or it is not in service")
                                         : "the address was not stored") +
                     "; the adaptor answered " + ResultText(l_Result) + "\n";
        if (l_Result != NO_ROW) AddStorageRemark(a_Session, a_Remarks);
        return false;
    }
    bool l_AllGood = false;
    std::string l_OfOthers;
    const LINES l_Lines = DspLines(a_Session, l_AllGood, l_OfOthers);
    const auto l_Line = static_cast<std::size_t>(a_Order.m_Dsp);
    if (l_Line < l_Lines.size()) a_Text += AlignedTable({DSP_HEADING, l_Lines[l_Line]}, a_Color);
    return true;
}

} // namespace BMHOST
