// A body of multipart/form-data, read while it comes.
#pragma once

#include "host/web/serve/PartDecoder.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace bmhost {

/// Of a Content-Type; nothing unless it is multipart/form-data with a boundary as RFC 2046 has it.
std::optional<std::string> BoundaryOf(std::string_view contentType);

/// What its parts are given to.
class MultipartParts {
public:
    virtual ~MultipartParts() = default;

    /// @param name  of the form's field; empty: it has none
    /// @param file  as the client calls it; empty: it is none
    virtual void BeginPart(const std::string& name, const std::string& file) = 0;
    virtual void AddToPart(std::string_view bytes) = 0;
    virtual void EndPart() = 0;
};

/// Keeps what may be the beginning of a boundary, and a part's headers; nothing else. Parts are given as they were
/// before they were encoded.
class MultipartReader {
public:
    static constexpr std::size_t LongestHeaders = 8 * 1024;

    /// @param parts  outlives the reader; what it throws comes out of Take
    MultipartReader(const std::string& boundary, MultipartParts& parts);

    /// The pieces may be cut anywhere. What follows a mistake is ignored.
    void Take(std::string_view bytes);
    /// The last boundary has come, and there was no mistake.
    bool IsWhole() const { return m_state == State::Done; }

private:
    enum class State { Preamble, Body, AfterBoundary, PartHeaders, Done, Broken };

    bool TakeBody();
    bool TakeBoundary();
    bool TakeHeaders();
    bool GivePart(std::string_view bytes);
    bool Drop(std::size_t size, State next);

    const std::string m_boundary; ///< with what comes before it
    MultipartParts& m_parts;
    std::string m_waiting = "\r\n"; ///< so that the first boundary is like the others
    State m_state = State::Preamble;
    std::optional<PartDecoder> m_decoder; ///< of the part that comes
};

} // namespace bmhost
