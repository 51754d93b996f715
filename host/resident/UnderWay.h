// A call's place in the picture.
#pragma once

#include "host/resident/PictureKeeper.h"

#include <cstdint>
#include <utility>

namespace bmhost {

/// From its construction to its destruction.
class UnderWay {
public:
    UnderWay(PictureKeeper& picture, const Lane& lane, CallInProgress call, bool told)
        : m_picture(picture),
          m_told(told),
          m_call(picture.Called(std::move(call), told, &lane)) {}
    UnderWay(const UnderWay&) = delete;
    UnderWay& operator=(const UnderWay&) = delete;
    ~UnderWay() { m_picture.Returned(m_call, m_told); }

    /// It waited until now.
    void Begin() const { m_picture.Began(m_call, m_told); }

private:
    PictureKeeper& m_picture;
    bool m_told;
    uint64_t m_call;
};

} // namespace bmhost
