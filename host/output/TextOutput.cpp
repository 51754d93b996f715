// What people read: values as text, and aligned tables.
#include "host/output/TextOutput.h"

#include "host/output/Output.h"
#include "host/output/Redirect.h"
#include "host/words/Names.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <unistd.h>

namespace BMHOST {

using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;
using BM_ADAPTOR::CBMITable;

namespace {

std::string GroupText(unsigned a_Group) {
    const std::string_view l_Name = GroupName(a_Group);
    return l_Name.empty() ? Hex(a_Group) : Hex(a_Group) + " " + std::string(l_Name);
}

std::string RowText(const CBMIParams& a_Row) {
    std::vector<std::vector<std::string>> l_Lines;
    for (int i = 0; i < a_Row.GetSize(); ++i) {
        const CBMIParam& l_Param = *a_Row.Get(i);
        l_Lines.push_back(
            {Hex(l_Param.GetId()), l_Param.IsKey() ? "key" : "", ColumnName(l_Param.GetId()), ValueText(l_Param)});
    }
    return AlignedTable(l_Lines, false);
}

class TEXT_OUTPUT final : public OUTPUT {
public:
    explicit TEXT_OUTPUT(int a_Descriptor) : m_Descriptor(a_Descriptor) {}

    void Lifecycle(std::string_view a_Operation, int a_Result) override {
        Show(std::string(a_Operation) + ": " + ResultText(a_Result) + "\n");
    }

    void Read(unsigned a_Group, int a_Result, const CBMIParams* a_Row) override {
        Show("read " + GroupText(a_Group) + ": " + ResultText(a_Result) + "\n" +
             (a_Row != nullptr ? RowText(*a_Row) : std::string()));
    }

    void Table(unsigned a_Group, int a_Result, const CBMITable* a_Table) override {
        const bool l_HasRows = a_Table != nullptr && a_Table->GetSize() > 0;
        Show("table " + GroupText(a_Group) + ": " + ResultText(a_Result) + "\n" +
             (l_HasRows ? AlignedTable(TableLines(*a_Table), ColorWanted(m_Descriptor)) : std::string()));
    }

    void Write(unsigned a_Group, int a_Result) override {
        Show("write " + GroupText(a_Group) + ": " + ResultText(a_Result) + "\n");
    }

    void Event(unsigned a_Event, unsigned a_Number, const CBMIParams& a_Params) override {
        Show("event " + Hex(a_Event) + ", number " + std::to_string(a_Number) + "\n" + RowText(a_Params));
    }

    void NoEvent() override { Show("wait-event: no event came\n"); }

private:
    void Show(const std::string& a_Text) const {
        fflush(stdout); // what the adaptor printed comes before
        WriteAll(m_Descriptor, a_Text);
    }

    int m_Descriptor;
};

} // namespace

std::string ResultText(int a_Result) {
    return (a_Result > 0xFFFF ? Hex(static_cast<unsigned>(a_Result)) : std::to_string(a_Result)) + " (" +
           std::string(ResultMeaning(a_Result)) + ")";
}

// Texts of the hardware may be anything.
std::string PrintableText(std::string a_Text) {
    std::replace_if(
        a_Text.begin(), a_Text.end(), [](unsigned char a_Char) { return !isprint(a_Char); }, '?');
    return a_Text;
}

std::string ValueText(const CBMIParam& a_Param) {
    switch (a_Param.GetType()) {
    case BM_ADAPTOR::BMI_PARAM_BOOL:
        return a_Param.GetBool() ? "true" : "false";
    case BM_ADAPTOR::BMI_PARAM_INT:
    case BM_ADAPTOR::BMI_PARAM_UINT:
        return std::to_string(a_Param.GetInt());
    case BM_ADAPTOR::BMI_PARAM_STRING:
        break;
    }
    return PrintableText(a_Param.GetString());
}

std::vector<std::vector<std::string>> TableLines(const CBMITable& a_Table) {
    std::vector<unsigned> l_Columns;
    for (int i = 0; i < a_Table.GetSize(); ++i) {
        const CBMIParams& l_Row = *a_Table.Get(i);
        for (int j = 0; j < l_Row.GetSize(); ++j) {
            const unsigned l_Id = l_Row.Get(j)->GetId();
            if (std::find(l_Columns.begin(), l_Columns.end(), l_Id) == l_Columns.end()) l_Columns.push_back(l_Id);
        }
    }
    std::vector<std::vector<std::string>> l_Lines(1);
    for (const unsigned l_Id : l_Columns)
        l_Lines[0].push_back(ColumnName(l_Id));
    for (int i = 0; i < a_Table.GetSize(); ++i) {
        auto& l_Line = l_Lines.emplace_back();
        for (const unsigned l_Id : l_Columns) {
            const CBMIParam* l_Param = a_Table.Get(i)->GetParamById(l_Id);
            l_Line.push_back(l_Param != nullptr ? ValueText(*l_Param) : "-");
        }
    }
    return l_Lines;
}

std::string AlignedTable(const std::vector<std::vector<std::string>>& a_Lines, bool a_Color,
                         const CELL_PAINTER& a_Painter) {
    std::map<std::size_t, std::size_t> l_Widths;
    for (const auto& l_Line : a_Lines) {
        for (std::size_t i = 0; i < l_Line.size(); ++i)
            l_Widths[i] = std::max(l_Widths[i], l_Line[i].size());
    }
    const auto l_PaintOf = [&](std::size_t a_Line, std::size_t a_Column) -> const char* {
        if (!a_Color) return nullptr;
        if (a_Line == 0) return "\033[1m";
        return a_Painter ? a_Painter(a_Line, a_Column) : nullptr;
    };
    std::string l_Text;
    for (std::size_t l_Line = 0; l_Line < a_Lines.size(); ++l_Line) {
        std::string l_Cells;
        for (std::size_t i = 0; i < a_Lines[l_Line].size(); ++i) {
            const std::string& l_Cell = a_Lines[l_Line][i];
            const char* const l_Paint = l_Cell.empty() ? nullptr : l_PaintOf(l_Line, i);
            l_Cells += "  " + (l_Paint != nullptr ? l_Paint + l_Cell + "\033[0m" : l_Cell);
            l_Cells.append(l_Widths[i] - l_Cell.size(), ' ');
        }
        l_Cells.erase(l_Cells.find_last_not_of(' ') + 1);
        l_Text += l_Cells + "\n";
    }
    return l_Text;
}

bool ColorWanted(int a_Descriptor) {
    const char* l_NoColor = getenv("NO_COLOR");
    return isatty(a_Descriptor) == 1 && (l_NoColor == nullptr || l_NoColor[0] == '\0');
}

std::unique_ptr<OUTPUT> MakeTextOutput(int a_Descriptor) {
    return std::make_unique<TEXT_OUTPUT>(a_Descriptor);
}

} // namespace BMHOST
