// Reads a whole JSON file and remembers the line of each of its keys.
#include "sim/base/JsonFile.h"

#include "sim/base/Error.h"

#include <fstream>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

namespace bladesim {
namespace {

using nlohmann::json;

// More than any blade needs, and little enough to read at once and to walk recursively.
constexpr size_t MaxFile = 1024 * 1024;
constexpr size_t MaxDepth = 32;
constexpr size_t MaxReason = 300;

[[noreturn]] void Fail(const std::string& file, unsigned line, const std::string& reason) {
    throw BladeError(file + ":" + std::to_string(line) + ": " + reason);
}

/// Counts lines while the parser reads. The parser may be one byte ahead of what it reports, so a line end counts once
/// the byte after it is read.
class LineCounter {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    LineCounter(const char* position, unsigned* line) : m_position(position), m_line(line) {}

    reference operator*() const { return *m_position; }
    LineCounter& operator++() {
        if (m_afterLineEnd) ++*m_line;
        m_afterLineEnd = *m_position == '\n';
        ++m_position;
        return *this;
    }
    bool operator==(const LineCounter& other) const { return m_position == other.m_position; }
    bool operator!=(const LineCounter& other) const { return m_position != other.m_position; }

private:
    const char* m_position;
    unsigned* m_line;
    bool m_afterLineEnd = false;
};

/// Listens to the parser and notes the line of each value.
class LineNoter : public nlohmann::json_sax<json> {
public:
    LineNoter(JsonFile& file, const unsigned& line) : m_file(file), m_line(line) {}

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

    bool key(string_t& key) override {
        m_path = JsonPath(m_open.back().m_path, key);
        if (!m_open.back().m_keys.insert(key).second) Fail(m_file.m_name, m_line, m_path + ": appears twice");
        m_file.m_lines.emplace(m_path, m_line);
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override {
        // "[json.exception…] parse error at line…: reason", or without the middle part.
        std::string reason = error.what();
        for (const char* end : {"] ", ": "}) {
            const auto found = reason.find(end);
            if (found != std::string::npos) reason.erase(0, found + 2);
        }
        Fail(m_file.m_name, m_line, reason.substr(0, MaxReason));
    }

private:
    struct Container {
        std::string m_path;
        bool m_list;
        size_t m_items = 0;
        std::set<std::string> m_keys{};
    };

    /// A value begins: the value of the last key, an item of the list, or the whole file.
    bool Value() {
        if (m_open.empty()) {
            m_path.clear();
        } else if (m_open.back().m_list) {
            m_path = JsonPath(m_open.back().m_path, m_open.back().m_items++);
        } else {
            return true;
        }
        m_file.m_lines.emplace(m_path, m_line);
        return true;
    }

    bool Open(bool list) {
        Value();
        if (m_open.size() == MaxDepth)
            Fail(m_file.m_name, m_line, m_path + ": is nested too deeply in lists and objects");
        m_open.push_back({m_path, list});
        return true;
    }

    bool Close() {
        m_open.pop_back();
        return true;
    }

    JsonFile& m_file;
    const unsigned& m_line;
    std::vector<Container> m_open;
    std::string m_path; ///< path of the next value
};

std::string ReadWhole(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) ThrowErrno(file + ": cannot be read");
    std::string text(MaxFile + 1, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(stream.gcount()));
    if (stream.bad() || text.empty()) throw BladeError(file + ": is empty or cannot be read");
    if (text.size() > MaxFile) throw BladeError(file + ": is larger than 1 MiB");
    return text;
}

} // namespace

std::string JsonPath(const std::string& object, const std::string& key) {
    return object.empty() ? key : object + "." + key;
}

std::string JsonPath(const std::string& list, size_t index) {
    return list + "[" + std::to_string(index) + "]";
}

JsonFile ReadJsonFile(const std::string& file) {
    const std::string text = ReadWhole(file);
    JsonFile result{file, {}, {}};
    unsigned line = 1;
    LineNoter noter(result, line);
    json::sax_parse(LineCounter(text.data(), &line), LineCounter(text.data() + text.size(), &line), &noter);
    result.m_root = json::parse(text);
    return result;
}

} // namespace bladesim
