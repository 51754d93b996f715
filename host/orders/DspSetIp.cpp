// One DSP given another IP address.
#include "host/orders/DspAddresses.h"
#include "host/orders/OrderKinds.h"
#include "host/output/TextOutput.h"
#include "host/picture/ReadPicture.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/views/Views.h"
#include "host/words/Error.h"

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr int MostDsps = 32; // 4 on each of 8 AMCs

struct DspWish {
    int m_dsp = 0; ///< counted from 1 across the blade
    std::string m_address;
    bool m_force = false;
};

DspWish DspWishOf(const OrderValues& values) {
    values.Only({"dsp", "address", "force"});
    DspWish wish{values.Number("dsp", 1, MostDsps), values.Text("address"), values.FlagIfAny("force")};
    if (!Ipv4Of(wish.m_address))
        throw UsageError("dsp set-ip: ADDRESS '" + PrintableText(wish.m_address) +
                         "': expected four numbers from 0 to 255 with dots between");
    return wish;
}

// The addresses of the DSPs by their numbers; a DSP without one has no row.
std::map<int, std::string> DspAddresses(Session& session) {
    std::map<int, std::string> addresses;
    int result = 0;
    const auto table = session.Table(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, result);
    for (int i = 0; table != nullptr && i < table->GetSize(); ++i) {
        const CBMIParams& row = *table->Get(i);
        const CBMIParam* const address = row.GetParamById(BMI_HW_AMC_DSP_EX_IP);
        if (address != nullptr) addresses[IntegerOf(row, BMI_HW_AMC_DSP_EX_NUM)] = address->GetString();
    }
    return addresses;
}

std::unique_ptr<CBMIParams> ReadDsp(Session& session, int dsp) {
    int result = 0;
    auto row = session.Row(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, KeyOf(BMI_HW_AMC_DSP_EX_NUM, dsp), result);
    return result == Success ? std::move(row) : nullptr;
}

void CheckAddress(Session& session, const DspWish& wish) {
    if (wish.m_force) return;
    std::map<int, std::string> others = DspAddresses(session);
    others.erase(wish.m_dsp);
    const std::string complaint = ComplaintOfAddress(*Ipv4Of(wish.m_address), AddressOfInterface(DspInterface), others);
    if (!complaint.empty())
        throw UsageError("dsp set-ip: ADDRESS '" + wish.m_address + "': " + complaint +
                         "; --force stores it nevertheless");
}

// The DSP as it is read afterwards.
std::string DspText(Session& session, int dsp, const std::string& address) {
    int result = 0;
    const auto table = session.Table(BMI_GROUP_HARDWARE_AMC_DSP_TABLE, result);
    if (table == nullptr || dsp > table->GetSize()) return "";
    Picture picture;
    picture.m_dsps = {DspOf(dsp, *table->Get(dsp - 1))};
    picture.m_dsps[0].m_ip = address;
    return DspsText(picture, {});
}

OrderOutcome SetAddress(const OrderValues& values, Session& session, const Picture&) {
    const DspWish wish = DspWishOf(values);
    CheckAddress(session, wish);
    OrderOutcome outcome;
    outcome.m_values = {{"dsp", wish.m_dsp}, {"address", wish.m_address}};
    const auto before = ReadDsp(session, wish.m_dsp);
    CBMIKeys keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, wish.m_dsp);
    CBMIParam address(BMI_PARAM_STRING, BMI_HW_AMC_DSP_EX_IP, false);
    address.SetString(wish.m_address);
    CBMIParams row;
    row.Add(address);
    WriteRowOf(session, outcome, BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, keys, row);
    outcome.m_good = outcome.m_result == Success;
    if (!outcome.m_good) {
        const bool noDsp = outcome.m_result == NoRow;
        outcome.m_remarks.push_back(
            "DSP " + std::to_string(wish.m_dsp) + ": " +
            (noDsp ? "there is no such DSP, or it is not in service" : "the address was not stored") +
            "; the adaptor answered " + ResultText(outcome.m_result));
        if (!noDsp && session.Complaints().m_count != 0)
            outcome.m_remarks.push_back("the storage said: " + session.Complaints().m_last);
        return outcome;
    }
    const auto after = ReadDsp(session, wish.m_dsp);
    const std::string was = before != nullptr ? TextOf(*before, BMI_HW_AMC_DSP_EX_IP) : "";
    const std::string is = after != nullptr ? TextOf(*after, BMI_HW_AMC_DSP_EX_IP) : "";
    outcome.m_changed = was != is;
    outcome.m_values["before"] = before != nullptr ? nlohmann::ordered_json(was) : nlohmann::ordered_json();
    outcome.m_values["holds_from"] = "next start";
    outcome.m_text = DspText(session, wish.m_dsp, is) + "the address holds from the next start\n";
    return outcome;
}

} // namespace

const OrderKind DspSetIp = {"dsp-set-ip", [](const OrderValues& values) { DspWishOf(values); }, SetAddress};

} // namespace bmhost
