// One JSON line per call.
#include "host/output/JsonOutput.h"

#include "host/output/ParamJson.h"
#include "host/output/Redirect.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace bmhost {

using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;
using nlohmann::ordered_json;

namespace {

ordered_json Row(const CBMIParams& row) {
    ordered_json values = ordered_json::array();
    for (int i = 0; i < row.GetSize(); ++i) {
        const CBMIParam& param = *row.Get(i);
        values.push_back({{"id", Hex(param.GetId())},
                          {"type", static_cast<int>(param.GetType())},
                          {"key", param.IsKey()},
                          {"value", ParamJson(param)}});
    }
    return values;
}

class JsonOutput final : public Output {
public:
    explicit JsonOutput(std::function<void(ordered_json)> taker) : m_taker(std::move(taker)) {}

    void Lifecycle(std::string_view operation, int result) override { Line({{"op", operation}, {"result", result}}); }

    void Read(unsigned group, int result, const CBMIParams* row) override {
        Line({{"op", "read"},
              {"group", Hex(group)},
              {"result", result},
              {"row", row != nullptr ? Row(*row) : ordered_json(nullptr)}});
    }

    void Table(unsigned group, int result, const BM_ADAPTOR::CBMITable* table) override {
        ordered_json rows = nullptr;
        if (table != nullptr) {
            rows = ordered_json::array();
            for (int i = 0; i < table->GetSize(); ++i)
                rows.push_back(Row(*table->Get(i)));
        }
        Line({{"op", "table"}, {"group", Hex(group)}, {"result", result}, {"rows", rows}});
    }

    void Write(unsigned group, int result) override {
        Line({{"op", "write"}, {"group", Hex(group)}, {"result", result}});
    }

    void Event(unsigned event, unsigned number, const CBMIParams& params) override {
        Line({{"op", "event"}, {"event", Hex(event)}, {"number", number}, {"params", Row(params)}});
    }

    void NoEvent() override { Line({{"op", "wait-event"}, {"result", 0}}); }

private:
    void Line(ordered_json fields) const { m_taker(std::move(fields)); }

    std::function<void(ordered_json)> m_taker;
};

} // namespace

std::unique_ptr<Output> MakeJsonOutput(std::function<void(ordered_json)> taker) {
    return std::make_unique<JsonOutput>(std::move(taker));
}

// Writes whole lines at once, so that a reader at the end of a pipe can follow call by call.
std::unique_ptr<Output> MakeJsonOutput(int descriptor) {
    return MakeJsonOutput(
        [descriptor](const ordered_json& fields) { WriteAll(descriptor, bm_dev::EscapedJson(fields.dump()) + "\n"); });
}

} // namespace bmhost
