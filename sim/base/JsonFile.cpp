// Reads a JSON file whole, remembering on which line each of its keys stands.
#include "sim/base/JsonFile.h"

#include "sim/base/Error.h"

#include <fstream>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

namespace BLADESIM {
namespace {

using nlohmann::json;

// Far beyond any blade, and little enough to be read at once and walked recursively.
constexpr size_t g_MaxFile = 1024 * 1024;
constexpr size_t g_MaxDepth = 32;
constexpr size_t g_MaxReason = 300;

[[noreturn]] void Fail(const std::string& a_File, unsigned a_Line, const std::string& a_Reason) {
    throw BLADE_ERROR(a_File + ":" + std::to_string(a_Line) + ": " + a_Reason);
}

/// Counts lines while the parser reads. The parser may have read one byte more than what it reports: a line end counts
/// when something behind it is read.
class LINE_COUNTER {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    LINE_COUNTER(const char* a_Position, unsigned* a_Line) : m_Position(a_Position), m_Line(a_Line) {}

    reference operator*() const { return *m_Position; }
    LINE_COUNTER& operator++() {
        if (m_AfterLineEnd) ++*m_Line;
        m_AfterLineEnd = *m_Position == '\n';
        ++m_Position;
        return *this;
    }
    bool operator==(const LINE_COUNTER& a_Other) const { return m_Position == a_Other.m_Position; }
    bool operator!=(const LINE_COUNTER& a_Other) const { return m_Position != a_Other.m_Position; }

private:
    const char* m_Position;
    unsigned* m_Line;
    bool m_AfterLineEnd = false;
};

/// Hears what the parser comes upon, and notes the lines.
class LINE_NOTER : public nlohmann::json_sax<json> {
public:
    LINE_NOTER(JSON_FILE& a_File, const unsigned& a_Line) : m_File(a_File), m_Line(a_Line) {}

    bool null() override { return Value(); }
    bool boolean(bool) override { return Value(); }
    bool number_integer(number_integer_t) override { return Value(); }
    bool number_unsigned(number_unsigned_t) override { return Value(); }
    bool number_float(number_float_t, const string_t&) override { return Value(); }
    bool string(string_t&) override { return Value(); }
    bool binary(binary_t&) override { return Value(); }
    bool start_object(std::size_t) override { return Open(false); }
    bool start_array(std::size_t) override { return Open(true); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }

    bool key(string_t& a_Key) override {
        m_Path = JsonPath(m_Open.back().m_Path, a_Key);
        if (!m_Open.back().m_Keys.insert(a_Key).second) Fail(m_File.m_Name, m_Line, m_Path + ": stands twice");
        m_File.m_Lines.emplace(m_Path, m_Line);
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& a_Error) override {
        // "[json.exception…] parse error at line…: reason", or without the middle one.
        std::string l_Reason = a_Error.what();
        for (const char* l_End : {"] ", ": "}) {
            const auto l_Found = l_Reason.find(l_End);
            if (l_Found != std::string::npos) l_Reason.erase(0, l_Found + 2);
        }
        Fail(m_File.m_Name, m_Line, l_Reason.substr(0, g_MaxReason));
    }

private:
    struct CONTAINER {
        std::string m_Path;
        bool m_List;
        size_t m_Items = 0;
        std::set<std::string> m_Keys{};
    };

    /// A value begins: that of the key just heard, an item of the list, or the whole file.
    bool Value() {
        if (m_Open.empty()) {
            m_Path.clear();
        } else if (m_Open.back().m_List) {
            m_Path = JsonPath(m_Open.back().m_Path, m_Open.back().m_Items++);
        } else {
            return true;
        }
        m_File.m_Lines.emplace(m_Path, m_Line);
        return true;
    }

    bool Open(bool a_List) {
        Value();
        if (m_Open.size() == g_MaxDepth) Fail(m_File.m_Name, m_Line, m_Path + ": stands too deep in lists and objects");
        m_Open.push_back({m_Path, a_List});
        return true;
    }

    bool Close() {
        m_Open.pop_back();
        return true;
    }

    JSON_FILE& m_File;
    const unsigned& m_Line;
    std::vector<CONTAINER> m_Open;
    std::string m_Path; ///< of the value that comes
};

std::string ReadWhole(const std::string& a_File) {
    std::ifstream l_Stream(a_File, std::ios::binary);
    if (!l_Stream) ThrowErrno(a_File + ": cannot be read");
    std::string l_Text(g_MaxFile + 1, '\0');
    l_Stream.read(l_Text.data(), static_cast<std::streamsize>(l_Text.size()));
    l_Text.resize(static_cast<size_t>(l_Stream.gcount()));
    if (l_Stream.bad() || l_Text.empty()) throw BLADE_ERROR(a_File + ": there is nothing in it to read");
    if (l_Text.size() > g_MaxFile) throw BLADE_ERROR(a_File + ": is larger than 1 MiB, which no blade file is");
    return l_Text;
}

} // namespace

std::string JsonPath(const std::string& a_Object, const std::string& a_Key) {
    return a_Object.empty() ? a_Key : a_Object + "." + a_Key;
}

std::string JsonPath(const std::string& a_List, size_t a_Index) {
    return a_List + "[" + std::to_string(a_Index) + "]";
}

JSON_FILE ReadJsonFile(const std::string& a_File) {
    const std::string l_Text = ReadWhole(a_File);
    JSON_FILE l_File{a_File, {}, {}};
    unsigned l_Line = 1;
    LINE_NOTER l_Noter(l_File, l_Line);
    json::sax_parse(LINE_COUNTER(l_Text.data(), &l_Line), LINE_COUNTER(l_Text.data() + l_Text.size(), &l_Line),
                    &l_Noter);
    l_File.m_Root = json::parse(l_Text);
    return l_File;
}

} // namespace BLADESIM
