// Makes the calls of the storage that standard input asks for, one a line, and prints each result.
//
// usage: storage_client FOLDER
//
//     start | end | set FILE NUMBER TEXT | create FILE NUMBER TEXT | get FILE NUMBER [FORCE] | table FILE
#include "bm/DataStorage.h"
#include "bm_dev/HostStorage.h"

#include <iostream>
#include <sstream>
#include <string>

namespace {

using BM_ADAPTOR::CBMIKeys;
using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;

constexpr unsigned NUMBER = 1;
constexpr unsigned TEXT = 2;

CBMIKeys Keys(int32_t a_Number) {
    CBMIParam l_Number(BM_ADAPTOR::BMI_PARAM_INT, NUMBER, true);
    l_Number.SetInt(a_Number);
    CBMIKeys l_Keys;
    l_Keys.Add(l_Number);
    return l_Keys;
}

CBMIParams Values(const std::string& a_Text) {
    CBMIParam l_Text(BM_ADAPTOR::BMI_PARAM_STRING, TEXT, false);
    l_Text.SetString(a_Text);
    CBMIParams l_Row;
    l_Row.Add(l_Text);
    return l_Row;
}

std::string TextOf(const CBMIParams& a_Row) {
    const CBMIParam* const l_Text = a_Row.GetParamById(TEXT);
    return l_Text != nullptr ? " " + l_Text->GetString() : "";
}

std::string Answer(QUB_STORAGE::CDataStorage& a_Storage, std::istringstream a_Line) {
    std::string l_Call;
    std::string l_File;
    std::string l_Text;
    int32_t l_Number = 0;
    int l_Force = 0;
    a_Line >> l_Call >> l_File >> l_Number;
    if (l_Call == "start") return std::to_string(a_Storage.StartTransaction());
    if (l_Call == "end") return std::to_string(a_Storage.EndTransaction());
    if (l_Call == "set") {
        a_Line >> l_Text;
        return std::to_string(a_Storage.SetRow(l_File, Keys(l_Number), Values(l_Text)));
    }
    if (l_Call == "create") {
        a_Line >> l_Text;
        return std::to_string(a_Storage.CreateRow(l_File, Keys(l_Number), Values(l_Text)));
    }
    if (l_Call == "get") {
        a_Line >> l_Force;
        CBMIParams l_Row;
        const int l_Result = a_Storage.RetrieveRow(l_File, Keys(l_Number), l_Row, l_Force);
        return std::to_string(l_Result) + TextOf(l_Row);
    }
    if (l_Call != "table") return "what is " + l_Call + "?";
    BM_ADAPTOR::CBMITable l_Table;
    std::string l_Answer = std::to_string(a_Storage.RetrieveTable(l_File, l_Table, 0));
    for (int i = 0; i < l_Table.GetSize(); ++i)
        l_Answer += TextOf(*l_Table.Get(i));
    return l_Answer;
}

} // namespace

int main(int a_Argc, char** a_Argv) {
    if (a_Argc != 2) return 2;
    const auto l_Storage = BM_PLATFORM::MakeStorage(a_Argv[1]);
    for (std::string l_Line; std::getline(std::cin, l_Line);)
        std::cout << Answer(*l_Storage, std::istringstream(l_Line)) << std::endl;
    return 0;
}
