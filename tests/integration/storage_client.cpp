// Makes the storage calls that it reads from standard input, one per line, and prints each result.
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

constexpr unsigned NumberId = 1;
constexpr unsigned TextId = 2;

CBMIKeys Keys(int32_t keyNumber) {
    CBMIParam number(BM_ADAPTOR::BMI_PARAM_INT, NumberId, true);
    number.SetInt(keyNumber);
    CBMIKeys keys;
    keys.Add(number);
    return keys;
}

CBMIParams Values(const std::string& content) {
    CBMIParam text(BM_ADAPTOR::BMI_PARAM_STRING, TextId, false);
    text.SetString(content);
    CBMIParams row;
    row.Add(text);
    return row;
}

std::string TextOf(const CBMIParams& row) {
    const CBMIParam* const text = row.GetParamById(TextId);
    return text != nullptr ? " " + text->GetString() : "";
}

std::string Answer(QUB_STORAGE::CDataStorage& storage, std::istringstream line) {
    std::string call;
    std::string file;
    std::string text;
    int32_t number = 0;
    int force = 0;
    line >> call >> file >> number;
    if (call == "start") return std::to_string(storage.StartTransaction());
    if (call == "end") return std::to_string(storage.EndTransaction());
    if (call == "set") {
        line >> text;
        return std::to_string(storage.SetRow(file, Keys(number), Values(text)));
    }
    if (call == "create") {
        line >> text;
        return std::to_string(storage.CreateRow(file, Keys(number), Values(text)));
    }
    if (call == "get") {
        line >> force;
        CBMIParams row;
        const int result = storage.RetrieveRow(file, Keys(number), row, force);
        return std::to_string(result) + TextOf(row);
    }
    if (call != "table") return "what is " + call + "?";
    BM_ADAPTOR::CBMITable table;
    std::string answer = std::to_string(storage.RetrieveTable(file, table, 0));
    for (int i = 0; i < table.GetSize(); ++i)
        answer += TextOf(*table.Get(i));
    return answer;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const auto storage = bm_dev::MakeStorage(argv[1]);
    for (std::string line; std::getline(std::cin, line);)
        std::cout << Answer(*storage, std::istringstream(line)) << std::endl;
    return 0;
}
