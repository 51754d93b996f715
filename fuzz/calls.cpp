// A host's calls: any operation, group, keys, values, null pointers, before Init and after Fin. An input is a byte that
// says what the host finds and whether two threads call at once, each with half of the rest; then the calls.
#include "support/Bytes.h"
#include "support/FuzzedHost.h"
#include "support/Require.h"

#include "common/veldo_common_protocol.h"
#include "ipmi/LiveMemory.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <thread>

using namespace BM_ADAPTOR;
using namespace fuzzing;

namespace {

constexpr std::size_t MostBytes = 400;       // about a hundred calls; what an input has beyond is not looked at
constexpr std::size_t MostHeld = 512 * 1024; // what Init and reads of unserved groups leave on purpose, and the fakes

uint32_t GroupFrom(Bytes& input) {
    const unsigned choice = input.Choice(g_GroupNames.size() + 3);
    if (choice < g_GroupNames.size()) return g_GroupNames[choice].m_Group;
    constexpr uint32_t unserved[] = {BMI_GROUP_UNSERVED_30D00, BMI_GROUP_UNSERVED_30E10};
    return choice - g_GroupNames.size() < 2 ? unserved[choice - g_GroupNames.size()] : input.Number();
}

// Mostly a parameter of the group, with a small number.
CBMIParam ParamFrom(Bytes& input, uint32_t group) {
    const unsigned form = input.Byte();
    const uint32_t id =
        (form & 3) != 0 ? group + 1 + input.Choice(16) : g_ParameterNames[input.Choice(g_ParameterNames.size())].m_Id;
    constexpr BMIParamType_e types[] = {BMI_PARAM_INT, BMI_PARAM_INT, BMI_PARAM_UINT, BMI_PARAM_STRING, BMI_PARAM_BOOL};
    CBMIParam param(types[(form >> 2) % std::size(types)], id, (form & 0x80) != 0);
    if (param.GetType() == BMI_PARAM_STRING) {
        param.SetString(input.Text());
    } else if (param.GetType() == BMI_PARAM_BOOL) {
        param.SetBool(input.Choice(2) != 0);
    } else {
        param.SetInt((form & 0x40) != 0 ? static_cast<int32_t>(input.Number())
                                        : static_cast<int32_t>(input.Choice(12)));
    }
    return param;
}

// Null at times.
template <typename ROW>
std::unique_ptr<ROW> RowFrom(Bytes& input, uint32_t group) {
    const unsigned count = input.Choice(6);
    if (count == 5) return nullptr;
    auto row = std::make_unique<ROW>();
    for (unsigned i = 0; i < count; ++i)
        row->Add(ParamFrom(input, group));
    return row;
}

bool IsServed(uint32_t group) {
    return std::any_of(g_GroupNames.begin(), g_GroupNames.end(),
                       [=](const GROUP_NAME& served) { return served.m_Group == group; });
}

bool IsOfLeds(uint32_t group) {
    return group == BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL || group == BMI_GROUP_HARDWARE_AMC_LED_INTERNAL ||
           group == BMI_GROUP_BM_IPMI_BASEBOARD_LED || group == BMI_GROUP_HARDWARE_AMC_LED_TABLE;
}

class Caller {
public:
    Caller(FuzzedHost& host, Bytes input, bool alone) : m_host(host), m_input(input), m_alone(alone) {}

    void Run() {
        std::string before = m_alone ? m_host.Tables() : std::string();
        while (!m_input.IsEmpty()) {
            const bool changes = Call();
            if (!m_alone) continue;
            m_host.WaitForUpgrade();
            const std::string after = m_host.Tables();
            Require(changes || after == before, m_what + " has changed\n" + before + "to\n" + after);
            before = after;
        }
    }

private:
    // Whether the call may change something.
    bool Call() {
        switch (m_input.Choice(12)) {
        case 0:
            m_what = "Init";
            m_host.Init(static_cast<int>(m_input.Choice(5)), m_input.Choice(8) != 0);
            return true;
        case 1:
            return m_host.Adaptor().Start(nullptr) >= 0;
        case 2:
            return m_host.Adaptor().Stop(nullptr) >= 0;
        case 3:
            Require(m_host.Adaptor().Fin() == 1, "Fin fails");
            return true;
        case 4:
            return Other();
        case 5:
            return ReadTable(GroupFrom(m_input));
        case 6:
        case 7:
            return Read(GroupFrom(m_input));
        case 8:
            if (m_alone) m_host.Storage().m_answer = m_input.Choice(4) == 0 ? static_cast<int>(m_input.Byte()) : 1;
            return true;
        default:
            return Write(GroupFrom(m_input));
        }
    }

    bool Read(uint32_t group) {
        const auto keys = RowFrom<CBMIKeys>(m_input, group);
        CBMIParams* row = nullptr;
        const int result = m_host.Adaptor().ReadParams(group, keys.get(), row);
        const std::unique_ptr<CBMIParams> owner(row);
        m_what = "a read of group " + std::to_string(group) + " with result " + std::to_string(result);
        Require(row != nullptr || !IsServed(group), m_what + " gives no row");
        Require(row == nullptr || IsServed(group), m_what + " gives a row");
        return false;
    }

    // A row of a table is the row that its keys read.
    bool ReadTable(uint32_t group) {
        CBMITable left;
        CBMITable* made = &left;
        const int result = m_host.Adaptor().GetParamTable(group, made);
        m_what = "the table of group " + std::to_string(group) + " with result " + std::to_string(result);
        Require(IsServed(group) == (made != &left), m_what + " is given or it is not");
        if (made == &left) return false;
        const std::unique_ptr<CBMITable> table(made);
        for (int i = 0; made != nullptr && m_alone && i < made->GetSize(); ++i)
            CheckRow(group, *made->Get(i));
        return false;
    }

    void CheckRow(uint32_t group, const CBMIParams& row) {
        CBMIKeys keys;
        for (int i = 0; i < row.GetSize(); ++i)
            if (row.Get(i)->IsKey()) keys.Add(*row.Get(i));
        CBMIParams* made = nullptr;
        m_host.Adaptor().ReadParams(group, &keys, made);
        const std::unique_ptr<CBMIParams> read(made);
        Require(TextOf(*read) == TextOf(row), m_what + " has " + TextOf(row) + ", its keys read " + TextOf(*read));
    }

    bool Write(uint32_t group) {
        const auto keys = RowFrom<CBMIKeys>(m_input, group);
        const auto values = RowFrom<CBMIParams>(m_input, group);
        const std::string given = (keys ? TextOf(*keys) : "null") + " values " + (values ? TextOf(*values) : "null");
        const int result = m_host.Adaptor().WriteParams(group, keys.get(), values.get());
        m_what =
            "a write of group " + std::to_string(group) + " with result " + std::to_string(result) + ", keys " + given;
        const bool taken = IsOfLeds(group) ? result == 0 : result == 1;
        Require(!taken || IsServed(group) || IsOfLeds(group) || result == 0, m_what + " is served by nobody");
        if (taken && m_alone && keys && values) CheckWritten(group, *keys, *values);
        // A port changes even when its state could not be stored.
        return taken || group == BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE;
    }

    // What was taken is read back.
    void CheckWritten(uint32_t group, const CBMIKeys& keys, const CBMIParams& values) {
        constexpr uint32_t written[] = {BMI_HW_AMC_RUN_STATUS, BMI_HW_AMC_DSP_EX_IP};
        CBMIParams* made = nullptr;
        m_host.Adaptor().ReadParams(group, &keys, made);
        const std::unique_ptr<CBMIParams> row(made);
        for (const uint32_t id : written) {
            const CBMIParam* const value = values.GetParamById(id);
            const CBMIParam* const read = row ? row->GetParamById(id) : nullptr;
            if (value == nullptr || read == nullptr || value->GetType() != read->GetType()) continue;
            Require(value->GetInt() == read->GetInt() && value->GetString() == read->GetString(),
                    m_what + " is read as " + TextOf(*row));
        }
    }

    // Operations that do nothing.
    bool Other() {
        const uint32_t group = GroupFrom(m_input);
        const auto keys = RowFrom<CBMIKeys>(m_input, group);
        const auto values = RowFrom<CBMIParams>(m_input, group);
        m_what = "an operation without effect";
        m_host.Adaptor().CreateParams(group, keys.get(), values.get());
        m_host.Adaptor().DeleteParams(group, keys.get());
        m_host.Adaptor().ProcessEvent(group, nullptr);
        return false;
    }

    FuzzedHost& m_host;
    Bytes m_input;
    const bool m_alone;
    std::string m_what = "a call";
};

} // namespace

namespace {

void CallAsTold(const uint8_t* data, std::size_t size) {
    const auto model = static_cast<Model>(data[0] % static_cast<unsigned>(Model::Count));
    FuzzedHost host(model, (data[0] & 0x40) != 0);
    if ((data[0] & 0x20) == 0) {
        Caller(host, Bytes(data + 1, size - 1), true).Run();
        return;
    }
    const std::size_t half = (size - 1) / 2;
    std::thread other([&] { Caller(host, Bytes(data + 1, half), false).Run(); });
    Caller(host, Bytes(data + 1 + half, size - 1 - half), false).Run();
    other.join();
}

} // namespace

// What the adaptor says on standard output belongs to nobody here.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return freopen("/dev/null", "w", stdout) != nullptr ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::size_t before = LiveBytes();
    CallAsTold(data, std::min(size, MostBytes));
    Require(LiveBytes() < before + MostHeld, "the calls have left " + std::to_string(LiveBytes() - before) + " bytes");
    return 0;
}
