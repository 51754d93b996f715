// Reads all of a blade that its controller tells: with the requests of the plug-in's probe and LED reads, and the SDRs.
#pragma once

#include "sim/capture/Conversation.h"

#include <map>
#include <vector>

namespace bladesim {

/// The bytes of inventory areas; those that could not be read are 0.
using Images = std::map<uint8_t, Bytes>;

struct CapturedController {
    uint8_t m_maxFru = 0;
    bool m_picmg = true;
    Images m_images; ///< by FRU id, of each FRU that has an area
    std::vector<Bytes> m_sdrs;
    std::map<Bytes, Bytes> m_replies; ///< by request
    std::vector<Fault> m_faults;      ///< what happened to requests that had to be asked again
};

/// Nothing that it asks changes the blade. Throws a BladeError when the controller
/// does not answer.
CapturedController ReadController(Conversation& conversation);

} // namespace bladesim
