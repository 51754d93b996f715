// Reads all of a blade that its controller tells: with the requests of the plug-in's probe and LED reads, and the SDRs.
#include "sim/capture/ReadController.h"

#include "sim/base/Error.h"
#include "sim/capture/ReadSdrs.h"
#include "sim/capture/Requests.h"

#include <algorithm>

namespace bladesim {
namespace {

constexpr size_t AddressInfoSize = 8;

/// "FRU 1: AMC, site 3".
std::string DescribeSite(uint8_t fru, const Bytes& info) {
    const std::string name = "FRU " + std::to_string(fru);
    if (!IsGood(info, AddressInfoSize)) return name + ": no address information";
    const uint8_t type = info[7];
    const std::string kind = type == 0   ? "front board"
                             : type == 7 ? "AMC"
                             : type == 9 ? "rear transition module"
                                         : "site type " + std::to_string(type);
    return name + ": " + kind + ", site " + std::to_string(info[6]);
}

void ReadLeds(Conversation& conversation, uint8_t fru) {
    for (const uint8_t led : LedIds(conversation.AskAndKeep(LedPropertiesOf(fru)))) {
        conversation.AskAndKeep(LedColorsOf(fru, led));
        conversation.AskAndKeep(LedStateOf(fru, led));
    }
}

/// The data bytes of a reply to Read FRU Data, as far as they are there and were asked for.
void Place(const Bytes& reply, size_t offset, Bytes& image) {
    if (!IsGood(reply, 2)) return;
    const size_t here = std::min<size_t>({reply[1], reply.size() - 2, AreaChunk});
    const size_t count = std::min(here, image.size() - std::min(offset, image.size()));
    std::copy_n(reply.begin() + 2, count, image.begin() + static_cast<std::ptrdiff_t>(std::min(offset, image.size())));
}

/// The plug-in reads on where the area does not end with a chunk, and so does this, by one request: its refusal is
/// kept.
void ReadArea(Conversation& conversation, uint8_t fru, Images& images) {
    const Bytes info = conversation.AskAndKeep(AreaInfoOf(fru));
    if (!IsGood(info, 3)) return;
    Bytes image(info[1] | size_t{info[2]} << 8);
    size_t offset = 0;
    for (; offset < image.size(); offset += AreaChunk)
        Place(conversation.AskAndKeep(AreaReadOf(fru, offset)), offset, image);
    if (offset != image.size() && offset <= 0xFFFF) conversation.AskAndKeep(AreaReadOf(fru, offset));
    images[fru] = image;
}

void ReadFrus(Conversation& conversation, CapturedController& captured) {
    for (unsigned fru = 0; fru <= captured.m_maxFru; ++fru) {
        const auto id = static_cast<uint8_t>(fru);
        std::string line = "FRU " + std::to_string(fru);
        if (captured.m_picmg) {
            line = DescribeSite(id, conversation.AskAndKeep(AddressInfoOf(id)));
            ReadLeds(conversation, id);
        }
        ReadArea(conversation, id, captured.m_images);
        const auto image = captured.m_images.find(id);
        line += image == captured.m_images.end() ? ", no inventory"
                                                 : ", inventory of " + std::to_string(image->second.size()) + " bytes";
        conversation.Say(line);
    }
}

} // namespace

CapturedController ReadController(Conversation& conversation) {
    const Bytes device = conversation.AskAndKeep(DeviceIdRequest);
    if (device[0] != 0) throw BladeError("the controller at /dev/ipmi0 does not tell its device id");
    CapturedController captured;
    const Bytes properties = conversation.AskAndKeep(PicmgPropertiesRequest);
    captured.m_picmg = IsGood(properties, 4);
    if (captured.m_picmg)
        captured.m_maxFru = std::min<uint8_t>(properties[3], 0xFE);
    else
        conversation.Say("the controller knows no PICMG commands: only FRU 0 is read");
    ReadFrus(conversation, captured);
    captured.m_sdrs = ReadSdrs(conversation);
    conversation.Say(std::to_string(captured.m_sdrs.size()) + " sensor data records");
    captured.m_replies = conversation.Replies();
    captured.m_faults = conversation.Faults();
    return captured;
}

} // namespace bladesim
