// Storage files. An input is a letter, then the file's text ('0') or rows to write ('1').
#include "readers/SlowXml.h"
#include "support/Bytes.h"
#include "support/Require.h"

#include "platform/src/storage/DataStorage_Error.h"
#include "platform/src/storage/DataStorage_Xml.h"

#include <algorithm>
#include <optional>

using namespace BM_ADAPTOR;
using namespace fuzzing;
using bm_storage::Rows;

namespace {

bool operator==(const CBMIParam& left, const CBMIParam& right) {
    return left.GetId() == right.GetId() && left.GetType() == right.GetType() && left.IsKey() == right.IsKey() &&
           left.GetBool() == right.GetBool() && left.GetInt() == right.GetInt() &&
           left.GetString() == right.GetString();
}

bool AreEqual(const std::vector<CBMIParams>& left, const std::vector<CBMIParams>& right) {
    if (left.size() != right.size()) return false;
    for (std::size_t row = 0; row < left.size(); ++row) {
        if (left[row].GetSize() != right[row].GetSize()) return false;
        for (int i = 0; i < left[row].GetSize(); ++i)
            if (!(*left[row].Get(i) == *right[row].Get(i))) return false;
    }
    return true;
}

// Read, written, read: the same rows; written again, the same text.
void CheckWritten(const Rows& rows) {
    const std::string text = bm_storage::XmlFromRows(rows);
    for (const char letter : text)
        Require(letter == '\n' || (letter >= ' ' && letter < 0x7F), "a file that is not printable ASCII");
    std::optional<Rows> again;
    try {
        again = bm_storage::RowsFromXml(text);
    } catch (const bm_storage::XmlError& error) {
        Require(false, std::string("what was written is refused: ") + error.what() + "\n" + text);
    }
    Require(AreEqual(again->All(), rows.All()), "other rows are read than were written:\n" + text);
    Require(bm_storage::XmlFromRows(*again) == text, "the same rows make another text");
    const auto slow = RowsInXml(text);
    Require(slow && AreEqual(*slow, rows.All()), "the slow reader reads what was written as other rows:\n" + text);
    for (const CBMIParams& row : rows.All()) {
        CBMIParams keys;
        for (int i = 0; i < row.GetSize(); ++i)
            if (row.Get(i)->IsKey()) keys.Add(*row.Get(i));
        const CBMIParams* const found = again->Find(bm_storage::KeyOf(keys));
        Require(found != nullptr && AreEqual({*found}, {row}), "a row is not found by its keys");
    }
}

void ReadFile(std::string text) {
    const auto slow = RowsInXml(text);
    std::optional<Rows> rows;
    std::string reason;
    try {
        rows = bm_storage::RowsFromXml(text);
    } catch (const bm_storage::XmlError& error) {
        reason = error.what();
        const auto lines = 1 + std::count(text.begin(), text.end(), '\n');
        Require(!reason.empty() && error.Line() >= 1 && error.Line() <= lines, "refused in another line: " + reason);
    }
    Require(rows.has_value() == slow.has_value(),
            rows ? "a file is taken that does not follow the layout" : "a file is refused: " + reason);
    if (!rows) return;
    Require(AreEqual(rows->All(), *slow), "other rows than the file says");
    CheckWritten(*rows);
}

void WriteRows(Bytes input) {
    Rows rows;
    while (!input.IsEmpty()) {
        CBMIKeys keys;
        CBMIParams values;
        for (unsigned count = input.Choice(5); count > 0; --count) {
            constexpr BMIParamType_e types[] = {BMI_PARAM_BOOL, BMI_PARAM_INT, BMI_PARAM_UINT, BMI_PARAM_STRING};
            const bool isKey = input.Choice(2) == 0;
            CBMIParam param(types[input.Choice(4)], input.Choice(2) == 0 ? input.Choice(4) : input.Number(),
                            isKey || input.Choice(8) == 0);
            if (param.GetType() == BMI_PARAM_BOOL) param.SetBool(input.Choice(2) != 0);
            if (param.GetType() == BMI_PARAM_INT || param.GetType() == BMI_PARAM_UINT)
                param.SetInt(static_cast<int32_t>(input.Number()));
            if (param.GetType() == BMI_PARAM_STRING) param.SetString(input.Text());
            isKey ? keys.Add(param) : values.Add(param);
        }
        const bool set = input.Choice(2) != 0;
        const auto before = rows.All();
        try {
            CBMIParams row = bm_storage::MakeRow(keys, values);
            if (set) {
                rows.Set(std::move(row));
            } else if (!rows.Add(std::move(row))) {
                Require(AreEqual(rows.All(), before), "a row that was not added has changed others");
            }
        } catch (const bm_storage::StorageError&) {
            Require(AreEqual(rows.All(), before), "a refused row has changed others");
        }
    }
    CheckWritten(rows);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    if (data[0] == '0') {
        ReadFile({reinterpret_cast<const char*>(data) + 1, size - 1});
    } else {
        WriteRows(Bytes(data + 1, size - 1));
    }
    return 0;
}
