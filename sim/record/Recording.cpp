// Reads what was recorded on /dev/ipmi0.
#include "sim/record/Recording.h"

#include "sim/base/Error.h"
#include "sim/blade/HexText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <map>

namespace bladesim {
namespace {

using RecordedLine = nlohmann::json;
using RecordedTime = std::chrono::duration<double, std::milli>;

constexpr char NoRecording[] = ": is no recording of bladesim";

class RecordingReader {
public:
    explicit RecordingReader(const std::string& file) : m_stream(file, std::ios::binary) {
        m_recording.m_file = file;
        if (!m_stream) ThrowErrno(file + ": cannot be read");
    }

    Recording Read() {
        const auto head = Next();
        if (!head || !head->contains(RecordingKey)) throw BladeError(m_recording.m_file + NoRecording);
        if ((*head)[RecordingKey] != RecordingVersion) {
            Fail("is a recording of version " + (*head)[RecordingKey].dump() + "; this bladesim reads version " +
                 std::to_string(RecordingVersion));
        }
        while (const auto line = Next()) {
            if (line->contains("request")) {
                TakeRequest(*line);
            } else if (line->contains("answer")) {
                TakeAnswer(*line);
            } else {
                Fail("is neither a request nor an answer");
            }
        }
        return std::move(m_recording);
    }

private:
    [[noreturn]] void Fail(const std::string& reason) const {
        throw BladeError(m_recording.m_file + ":" + std::to_string(m_line) + ": " + reason);
    }

    /// nullopt at the end of the file.
    std::optional<RecordedLine> Next() {
        std::string text;
        if (!std::getline(m_stream, text)) return std::nullopt;
        ++m_line;
        RecordedLine line = RecordedLine::parse(text, nullptr, false);
        // Another file is told apart from one of ours that was cut by its first line.
        if (m_line == 1 && !line.is_object()) throw BladeError(m_recording.m_file + NoRecording);
        if (m_stream.eof()) Fail("is cut off in the middle of a line: the end of the recording is missing");
        if (!line.is_object()) Fail("is not a JSON object");
        return line;
    }

    template <typename Value>
    Value Get(const RecordedLine& line, const char* key) const {
        const auto found = line.find(key);
        if (found == line.end() || !found->is_number()) Fail(std::string(key) + ": expected a number");
        return found->get<Value>();
    }

    std::vector<uint8_t> BytesOfLine(const RecordedLine& line, size_t least) const {
        const auto found = line.find("bytes");
        const bool isText = found != line.end() && found->is_string();
        const auto bytes = isText ? HexBytes(found->get<std::string>()) : std::nullopt;
        if (!bytes || bytes->size() < least) Fail("bytes: expected pairs of hexadecimal digits with blanks between");
        return *bytes;
    }

    void TakeRequest(const RecordedLine& line) {
        const auto number = Get<uint64_t>(line, "request");
        const RecordedTime time(Get<double>(line, "ms"));
        const auto bytes = BytesOfLine(line, 2);
        if (line.contains("ipmb")) {
            m_toOthers.push_back(number);
            return;
        }
        m_open[number] = {m_recording.m_exchanges.size(), time};
        m_recording.m_exchanges.push_back({bytes, {}, {}});
    }

    void TakeAnswer(const RecordedLine& line) {
        const auto number = Get<uint64_t>(line, "answer");
        const RecordedTime time(Get<double>(line, "ms"));
        const auto bytes = BytesOfLine(line, 1);
        const auto open = m_open.find(number);
        if (open == m_open.end()) {
            if (!std::ranges::count(m_toOthers, number))
                Fail("answers request " + std::to_string(number) + ", which is not there");
            return;
        }
        RecordedExchange& exchange = m_recording.m_exchanges[open->second.m_index];
        if (exchange.m_reply) return; // an answer that came twice
        const RecordedTime delay = std::max(time - std::max(open->second.m_time, m_lastAnswer), RecordedTime(0));
        exchange.m_reply = bytes;
        exchange.m_delay = std::chrono::duration_cast<std::chrono::microseconds>(delay);
        m_lastAnswer = time;
    }

    struct OpenRequest {
        size_t m_index = 0;
        RecordedTime m_time{};
    };

    std::ifstream m_stream;
    unsigned m_line = 0;
    Recording m_recording;
    std::map<uint64_t, OpenRequest> m_open; // by number
    std::vector<uint64_t> m_toOthers;       // requests to the IPMB
    RecordedTime m_lastAnswer{};
};

} // namespace

Recording ReadRecording(const std::string& file) {
    return RecordingReader(file).Read();
}

} // namespace bladesim
