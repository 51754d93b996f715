// One JSON line a call.
#include "host/output/Output.h"

#include "host/output/Redirect.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

namespace BMHOST {

using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;
using nlohmann::ordered_json;

namespace {

ordered_json Value(const CBMIParam& a_Param) {
    switch (a_Param.GetType()) {
    case BM_ADAPTOR::BMI_PARAM_BOOL:
        return a_Param.GetBool();
    case BM_ADAPTOR::BMI_PARAM_STRING:
        return BM_PLATFORM::Utf8OfBytes(a_Param.GetString());
    case BM_ADAPTOR::BMI_PARAM_INT:
    case BM_ADAPTOR::BMI_PARAM_UINT:
        break;
    }
    return a_Param.GetInt();
}

ordered_json Row(const CBMIParams& a_Row) {
    ordered_json l_Row = ordered_json::array();
    for (int i = 0; i < a_Row.GetSize(); ++i) {
        const CBMIParam& l_Param = *a_Row.Get(i);
        l_Row.push_back({{"id", Hex(l_Param.GetId())},
                         {"type", static_cast<int>(l_Param.GetType())},
                         {"key", l_Param.IsKey()},
                         {"value", Value(l_Param)}});
    }
    return l_Row;
}

class JSON_OUTPUT final : public OUTPUT {
public:
    explicit JSON_OUTPUT(int a_Descriptor) : m_Descriptor(a_Descriptor) {}

    void Lifecycle(std::string_view a_Operation, int a_Result) override {
        Line({{"op", a_Operation}, {"result", a_Result}});
    }

    void Read(unsigned a_Group, int a_Result, const CBMIParams* a_Row) override {
        Line({{"op", "read"},
              {"group", Hex(a_Group)},
              {"result", a_Result},
              {"row", a_Row != nullptr ? Row(*a_Row) : ordered_json(nullptr)}});
    }

    void Table(unsigned a_Group, int a_Result, const BM_ADAPTOR::CBMITable* a_Table) override {
        ordered_json l_Rows = nullptr;
        if (a_Table != nullptr) {
            l_Rows = ordered_json::array();
            for (int i = 0; i < a_Table->GetSize(); ++i)
                l_Rows.push_back(Row(*a_Table->Get(i)));
        }
        Line({{"op", "table"}, {"group", Hex(a_Group)}, {"result", a_Result}, {"rows", l_Rows}});
    }

    void Write(unsigned a_Group, int a_Result) override {
        Line({{"op", "write"}, {"group", Hex(a_Group)}, {"result", a_Result}});
    }

    void Event(unsigned a_Event, unsigned a_Number, const CBMIParams& a_Params) override {
        Line({{"op", "event"}, {"event", Hex(a_Event)}, {"number", a_Number}, {"params", Row(a_Params)}});
    }

    void NoEvent() override { Line({{"op", "wait-event"}, {"result", 0}}); }

private:
    // Whole lines at once: whoever reads them through a pipe follows call by call.
    void Line(const ordered_json& a_Json) const {
        WriteAll(m_Descriptor, BM_PLATFORM::EscapedJson(a_Json.dump()) + "\n");
    }

    int m_Descriptor;
};

} // namespace

std::unique_ptr<OUTPUT> MakeJsonOutput(int a_Descriptor) {
    return std::make_unique<JSON_OUTPUT>(a_Descriptor);
}

} // namespace BMHOST
