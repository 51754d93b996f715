// The picture as JSON, made once for all who read the same picture.
#include "host/api/PictureText.h"

#include "host/http/Reply.h"
#include "host/picture/PictureJson.h"

namespace bmhost {

void PictureText::Take(std::shared_ptr<const Picture> picture) {
    if (picture == m_picture) return;
    m_json = PictureJson(*picture);
    m_text = JsonReply(200, m_json).m_body;
    m_tag = '"' + std::to_string(picture->m_host.m_started.time_since_epoch().count()) + '-' +
            std::to_string(picture->m_revision) + '"';
    m_picture = std::move(picture);
}

} // namespace bmhost
