// The picture as JSON, made once for all who read the same picture.
#pragma once

#include "host/picture/Picture.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <string>

namespace bmhost {

/// Used by one thread at a time.
class PictureText {
public:
    /// Makes the JSON unless this very picture was the last one.
    void Take(std::shared_ptr<const Picture> picture);

    const Picture& Of() const { return *m_picture; }
    const nlohmann::ordered_json& Json() const { return m_json; }
    /// One line.
    const std::shared_ptr<const std::string>& Text() const { return m_text; }
    /// In quotes. Revisions count anew with each host, so the host's start is in it.
    const std::string& Tag() const { return m_tag; }

private:
    std::shared_ptr<const Picture> m_picture;
    nlohmann::ordered_json m_json;
    std::shared_ptr<const std::string> m_text;
    std::string m_tag;
};

} // namespace bmhost
