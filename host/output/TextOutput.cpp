// What people read: values as text, and aligned tables.
#include "host/output/TextOutput.h"

#include "host/output/Output.h"
#include "host/output/Redirect.h"
#include "host/words/Names.h"

#include "bm_dev/Table.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace bmhost {

using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;
using BM_ADAPTOR::CBMITable;

namespace {

std::string GroupText(unsigned group) {
    const std::string_view name = GroupName(group);
    return name.empty() ? Hex(group) : Hex(group) + " " + std::string(name);
}

std::string RowText(const CBMIParams& row) {
    std::vector<std::vector<std::string>> lines;
    for (int i = 0; i < row.GetSize(); ++i) {
        const CBMIParam& param = *row.Get(i);
        lines.push_back({Hex(param.GetId()), param.IsKey() ? "key" : "", ColumnName(param.GetId()), ValueText(param)});
    }
    return AlignedTable(lines, false);
}

class TextOutput final : public Output {
public:
    explicit TextOutput(int descriptor) : m_descriptor(descriptor) {}

    void Lifecycle(std::string_view operation, int result) override {
        Show(std::string(operation) + ": " + ResultText(result) + "\n");
    }

    void Read(unsigned group, int result, const CBMIParams* row) override {
        Show("read " + GroupText(group) + ": " + ResultText(result) + "\n" +
             (row != nullptr ? RowText(*row) : std::string()));
    }

    void Table(unsigned group, int result, const CBMITable* table) override {
        const bool hasRows = table != nullptr && table->GetSize() > 0;
        Show("table " + GroupText(group) + ": " + ResultText(result) + "\n" +
             (hasRows ? AlignedTable(TableLines(*table), ColorWanted(m_descriptor)) : std::string()));
    }

    void Write(unsigned group, int result) override {
        Show("write " + GroupText(group) + ": " + ResultText(result) + "\n");
    }

    void Event(unsigned event, unsigned number, const CBMIParams& params) override {
        Show("event " + Hex(event) + ", number " + std::to_string(number) + "\n" + RowText(params));
    }

    void NoEvent() override { Show("wait-event: no event came\n"); }

private:
    void Show(const std::string& text) const {
        fflush(stdout); // the adaptor's prints come first
        WriteAll(m_descriptor, text);
    }

    int m_descriptor;
};

} // namespace

std::string ResultText(int result) {
    return (result > 0xFFFF ? Hex(static_cast<unsigned>(result)) : std::to_string(result)) + " (" +
           std::string(ResultMeaning(result)) + ")";
}

// Texts from the hardware may contain anything.
std::string PrintableText(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char letter) { return !isprint(letter); }, '?');
    return text;
}

std::string ValueText(const CBMIParam& param) {
    switch (param.GetType()) {
    case BM_ADAPTOR::BMI_PARAM_BOOL:
        return param.GetBool() ? "true" : "false";
    case BM_ADAPTOR::BMI_PARAM_INT:
    case BM_ADAPTOR::BMI_PARAM_UINT:
        return std::to_string(param.GetInt());
    case BM_ADAPTOR::BMI_PARAM_STRING:
        break;
    }
    return PrintableText(param.GetString());
}

std::vector<std::vector<std::string>> TableLines(const CBMITable& table) {
    std::vector<unsigned> columns;
    for (int i = 0; i < table.GetSize(); ++i) {
        const CBMIParams& row = *table.Get(i);
        for (int j = 0; j < row.GetSize(); ++j) {
            const unsigned id = row.Get(j)->GetId();
            if (std::find(columns.begin(), columns.end(), id) == columns.end()) columns.push_back(id);
        }
    }
    std::vector<std::vector<std::string>> lines(1);
    for (const unsigned id : columns)
        lines[0].push_back(ColumnName(id));
    for (int i = 0; i < table.GetSize(); ++i) {
        auto& line = lines.emplace_back();
        for (const unsigned id : columns) {
            const CBMIParam* param = table.Get(i)->GetParamById(id);
            line.push_back(param != nullptr ? ValueText(*param) : "-");
        }
    }
    return lines;
}

std::string AlignedTable(const std::vector<std::vector<std::string>>& lines, bool color, const CellPainter& painter) {
    return AlignedTable(lines, Style{color, false, 0, false}, painter);
}

std::string AlignedTable(const std::vector<std::vector<std::string>>& lines, const Style& style,
                         const CellPainter& painter) {
    constexpr const char* bold = "1";
    bm_dev::TableRows rows(lines.size());
    for (std::size_t line = 0; line < lines.size(); ++line) {
        for (std::size_t column = 0; column < lines[line].size(); ++column) {
            const char* const paint = style.m_color && line > 0 && painter ? painter(line, column) : nullptr;
            rows[line].push_back({lines[line][column], line == 0 ? bold : paint});
        }
    }
    const auto width = static_cast<std::size_t>(style.m_wide ? 0 : std::max(style.m_width, 0));
    return bm_dev::FormatTable(std::move(rows), style.m_color, "  ", {width, style.m_utf8 ? "…" : "..."});
}

std::unique_ptr<Output> MakeTextOutput(int descriptor) {
    return std::make_unique<TextOutput>(descriptor);
}

} // namespace bmhost
