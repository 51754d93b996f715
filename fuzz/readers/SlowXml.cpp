// A slow reader of storage files; see the header.
#include "readers/SlowXml.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <string_view>
#include <tuple>

namespace fuzzing {

namespace {

using namespace BM_ADAPTOR;

constexpr std::string_view Blanks = " \t\r\n";
struct Refused {};

void Expect(bool holds) {
    if (!holds) throw Refused();
}

bool IsOneOf(char letter, std::string_view letters) {
    return letters.find(letter) != std::string_view::npos;
}

// Digits of a number of at most 32 bits; the rest of the text must be nothing else.
uint64_t Digits(std::string_view text, unsigned base) {
    Expect(!text.empty());
    uint64_t number = 0;
    for (const char letter : text) {
        const std::string_view known("0123456789abcdef");
        const auto digit = known.find(letter >= 'A' && letter <= 'F' ? static_cast<char>(letter - 'A' + 'a') : letter);
        Expect(digit < base);
        number = number * base + digit;
        Expect(number <= std::numeric_limits<uint32_t>::max());
    }
    return number;
}

unsigned Id(std::string_view text) {
    const bool hex = text.starts_with("0x");
    return static_cast<unsigned>(hex ? Digits(text.substr(2), 16) : Digits(text, 10));
}

std::string Bytes(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        if (text.starts_with("\\\\")) {
            bytes += '\\';
            text.remove_prefix(2);
        } else if (text.front() == '\\') {
            Expect(text.starts_with("\\x") && text.size() >= 4);
            bytes += static_cast<char>(Digits(text.substr(2, 2), 16));
            text.remove_prefix(4);
        } else {
            bytes += text.front();
            text.remove_prefix(1);
        }
    }
    return bytes;
}

bool Truth(std::string_view text) {
    Expect(text == "true" || text == "false");
    return text == "true";
}

CBMIParam Param(const std::map<std::string, std::string>& given) {
    const std::string& type = given.at("type");
    const std::string& value = given.at("value");
    const auto make = [&](BMIParamType_e number) {
        return CBMIParam(number, Id(given.at("id")), Truth(given.at("key")));
    };
    if (type == "bool") {
        CBMIParam param = make(BMI_PARAM_BOOL);
        param.SetBool(Truth(value));
        return param;
    }
    if (type == "uint") {
        CBMIParam param = make(BMI_PARAM_UINT);
        param.SetInt(static_cast<int32_t>(Digits(value, 10)));
        return param;
    }
    if (type == "int") {
        CBMIParam param = make(BMI_PARAM_INT);
        const bool negative = value.starts_with("-");
        const uint64_t size = Digits(negative ? value.substr(1) : value, 10);
        Expect(size <= (negative ? 0x80000000U : 0x7FFFFFFFU));
        param.SetInt(static_cast<int32_t>(negative ? 0 - size : size));
        return param;
    }
    Expect(type == "string");
    CBMIParam param = make(BMI_PARAM_STRING);
    param.SetString(Bytes(value));
    return param;
}

class Reader {
public:
    explicit Reader(std::string_view text) : m_rest(text) {
        if (m_rest.starts_with("\xEF\xBB\xBF")) m_rest.remove_prefix(3); // a byte order mark
    }

    std::vector<CBMIParams> Read() {
        for (const char letter : m_rest)
            Expect(static_cast<unsigned char>(letter) >= ' ' ? letter != 0x7F : IsOneOf(letter, "\t\r\n"));
        SkipBetween(true);
        const auto [root, open] = Element("storage");
        Expect(root.size() == 1 && root.contains("version") && root.at("version") == "1");
        if (open) {
            for (SkipBetween(false); !TakeEnd("storage"); SkipBetween(false))
                ReadRow();
        }
        SkipBetween(true);
        Expect(m_rest.empty());
        return std::move(m_rows);
    }

private:
    bool Take(std::string_view text) {
        if (!m_rest.starts_with(text)) return false;
        m_rest.remove_prefix(text.size());
        return true;
    }

    void SkipBlanks() {
        while (!m_rest.empty() && IsOneOf(m_rest.front(), Blanks))
            m_rest.remove_prefix(1);
    }

    // Blanks and comments; outside of the root, declarations too.
    void SkipBetween(bool outside) {
        for (SkipBlanks();; SkipBlanks()) {
            if (Take("<!--")) {
                const auto end = m_rest.find("-->");
                Expect(end != std::string_view::npos);
                m_rest.remove_prefix(end + 3);
            } else if (outside && m_rest.starts_with("<?xml")) {
                m_rest.remove_prefix(5);
                Attributes();
                Expect(Take("?>"));
            } else {
                return;
            }
        }
    }

    std::string Name() {
        std::string name;
        while (!m_rest.empty() && (std::isalnum(static_cast<unsigned char>(m_rest.front())) != 0 ||
                                   IsOneOf(m_rest.front(), "_:-.") || (m_rest.front() & 0x80) != 0)) {
            name += m_rest.front();
            m_rest.remove_prefix(1);
        }
        Expect(!name.empty() && !IsOneOf(name.front(), "-.0123456789"));
        return name;
    }

    std::string Value() {
        const char quote = m_rest.empty() ? '\0' : m_rest.front();
        Expect(quote == '"' || quote == '\'');
        const auto end = m_rest.find(quote, 1);
        Expect(end != std::string_view::npos);
        std::string_view raw = m_rest.substr(1, end - 1);
        m_rest.remove_prefix(end + 1);
        std::string value;
        while (!raw.empty()) {
            constexpr std::pair<std::string_view, char> entities[] = {{"&lt;", '<'},   {"&gt;", '>'},    {"&amp;", '&'},
                                                                      {"&quot;", '"'}, {"&apos;", '\''}, {"\r\n", ' '}};
            const auto* const found = std::find_if(std::begin(entities), std::end(entities),
                                                   [&](const auto& entity) { return raw.starts_with(entity.first); });
            Expect(found != std::end(entities) || raw.front() != '&');
            value += found != std::end(entities) ? found->second : IsOneOf(raw.front(), Blanks) ? ' ' : raw.front();
            raw.remove_prefix(found != std::end(entities) ? found->first.size() : 1);
        }
        return value;
    }

    std::map<std::string, std::string> Attributes() {
        std::map<std::string, std::string> attributes;
        for (;;) {
            const bool parted = !m_rest.empty() && IsOneOf(m_rest.front(), Blanks);
            SkipBlanks();
            if (m_rest.empty() || IsOneOf(m_rest.front(), "/>?")) return attributes;
            Expect(parted);
            const std::string name = Name();
            SkipBlanks();
            Expect(Take("="));
            SkipBlanks();
            Expect(attributes.emplace(name, Value()).second);
        }
    }

    // Its attributes, and whether something follows before its end.
    std::pair<std::map<std::string, std::string>, bool> Element(const std::string& name) {
        Expect(Take("<") && Name() == name);
        auto attributes = Attributes();
        const bool closed = Take("/");
        Expect(Take(">"));
        return {std::move(attributes), !closed};
    }

    bool TakeEnd(const std::string& name) {
        if (!Take("</")) return false;
        Expect(Name() == name);
        SkipBlanks();
        Expect(Take(">"));
        return true;
    }

    void ReadRow() {
        const auto [none, open] = Element("row");
        Expect(none.empty());
        CBMIParams row;
        std::set<unsigned> ids;
        std::set<std::tuple<unsigned, int, std::string>> keys;
        if (open) {
            for (SkipBetween(false); !TakeEnd("row"); SkipBetween(false)) {
                const CBMIParam param = ReadParam();
                Expect(ids.insert(param.GetId()).second);
                const bool number = param.GetType() == BMI_PARAM_INT || param.GetType() == BMI_PARAM_UINT;
                if (param.IsKey()) // both integer types are equal
                    keys.emplace(param.GetId(), number ? -1 : param.GetType(),
                                 number                                ? std::to_string(param.GetInt())
                                 : param.GetType() == BMI_PARAM_STRING ? param.GetString()
                                 : param.GetBool()                     ? "true"
                                                                       : "false");
                row.Add(param);
            }
        }
        Expect(!keys.empty() && m_keys.insert(keys).second);
        m_rows.push_back(std::move(row));
    }

    CBMIParam ReadParam() {
        const auto [given, open] = Element("param");
        Expect(given.size() == 4);
        for (const char* name : {"id", "type", "key", "value"})
            Expect(given.contains(name));
        if (open) {
            SkipBlanks();
            Expect(TakeEnd("param"));
        }
        return Param(given);
    }

    std::string_view m_rest;
    std::vector<CBMIParams> m_rows;
    std::set<std::set<std::tuple<unsigned, int, std::string>>> m_keys;
};

} // namespace

std::optional<std::vector<CBMIParams>> RowsInXml(const std::string& text) {
    try {
        return Reader(text).Read();
    } catch (const Refused&) {
        return std::nullopt;
    }
}

} // namespace fuzzing
