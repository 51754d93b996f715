// An input of a target whose inputs are bytes: taken from the front, zeros after its end.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace fuzzing {

class Bytes {
public:
    Bytes(const uint8_t* data, std::size_t size) : m_rest(data, size) {}

    bool IsEmpty() const { return m_rest.empty(); }

    uint8_t Byte() {
        if (m_rest.empty()) return 0;
        const uint8_t byte = m_rest.front();
        m_rest = m_rest.subspan(1);
        return byte;
    }

    /// 0 to count - 1.
    unsigned Choice(unsigned count) { return Byte() % count; }

    /// Four bytes, least significant first.
    uint32_t Number() {
        uint32_t number = 0;
        for (unsigned shift = 0; shift < 32; shift += 8)
            number |= static_cast<uint32_t>(Byte()) << shift;
        return number;
    }

    /// As many as there are, at most `count`.
    std::vector<uint8_t> Some(std::size_t count) {
        const auto taken = m_rest.first(std::min(count, m_rest.size()));
        m_rest = m_rest.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

    /// A length in one byte, then the text.
    std::string Text() {
        const auto bytes = Some(Byte());
        return {bytes.begin(), bytes.end()};
    }

    std::span<const uint8_t> Rest() const { return m_rest; }

private:
    std::span<const uint8_t> m_rest;
};

} // namespace fuzzing
