// Replaces the serial numbers and MAC addresses of a captured blade.
#include "sim/capture/Anonymise.h"

#include "sim/capture/FruLayout.h"
#include "sim/capture/Requests.h"
#include "sim/capture/Substitutes.h"

#include <algorithm>
#include <numeric>

namespace bladesim {
namespace {

// Shorter serial numbers would hit other texts by chance.
constexpr size_t LeastToFind = 4;
constexpr size_t ReadReplyHead = 2; // completion code and count

using Replacements = std::map<Bytes, Bytes>; // bytes by those that they replace; of the same length

Bytes Part(const Bytes& bytes, size_t offset, size_t size) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

bool BeginsHere(const Bytes& bytes, size_t offset, const Bytes& wanted) {
    return bytes.size() - offset >= wanted.size() &&
           std::equal(wanted.begin(), wanted.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

void Put(Bytes& bytes, size_t offset, const Bytes& part) {
    std::ranges::copy(part, bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

class Anonymiser {
public:
    explicit Anonymiser(uint64_t seed) : m_substitutes(seed) {}

    /// What is at its place in an image, and is to be replaced wherever else it is.
    void Learn(const Bytes& image, const FruLayout& layout) {
        for (const SerialField& field : layout.m_serials) {
            const Bytes serial = Part(image, field.m_offset, field.m_size);
            const Bytes other = m_substitutes.Serial(serial, field.m_code);
            m_fields[serial] = other;
            if (serial.size() >= LeastToFind) m_everywhere[serial] = other;
        }
        for (const size_t place : layout.m_macs) {
            const Bytes mac = Part(image, place, MacAddress{}.size());
            m_everywhere[mac] = m_fields[mac] = OtherMac(mac);
        }
    }

    Bytes OtherMac(const Bytes& bytes) {
        MacAddress mac{};
        std::ranges::copy(bytes, mac.begin());
        const MacAddress other = m_substitutes.Mac(mac);
        return {other.begin(), other.end()};
    }

    Bytes ChangeImage(const Bytes& image, const FruLayout& layout) const {
        std::map<size_t, size_t> places; // sizes by offset
        for (const SerialField& field : layout.m_serials)
            places[field.m_offset] = field.m_size;
        for (const size_t place : layout.m_macs)
            places[place] = MacAddress{}.size();
        Bytes changed = Change(image, places);
        for (const ChecksumPlace& place : layout.m_checksums)
            KeepSum(image, changed, place);
        return changed;
    }

    /// One pass, so that no substitute is replaced again. Of those that begin at one place the longest counts.
    Bytes Change(const Bytes& bytes, const std::map<size_t, size_t>& places = {}) const {
        Bytes changed = bytes;
        for (size_t offset = 0; offset < bytes.size();) {
            const auto field = places.find(offset);
            Bytes found;
            if (field != places.end()) found = Part(bytes, offset, field->second);
            for (const auto& [wanted, other] : m_everywhere) {
                if (field == places.end() && wanted.size() > found.size() && BeginsHere(bytes, offset, wanted))
                    found = wanted;
            }
            if (!found.empty()) Put(changed, offset, m_fields.at(found));
            offset += std::max<size_t>(found.size(), 1);
        }
        return changed;
    }

private:
    /// A right checksum stays right and a wrong one wrong, by as much. An earlier place may be within a later one.
    static void KeepSum(const Bytes& image, Bytes& changed, const ChecksumPlace& place) {
        const auto sum = [&](const Bytes& bytes) {
            const Bytes part = Part(bytes, place.m_begin, place.m_end - place.m_begin);
            const bool isWithin = place.m_checksum >= place.m_begin && place.m_checksum < place.m_end;
            return std::accumulate(part.begin(), part.end(), isWithin ? 0U : unsigned{bytes[place.m_checksum]});
        };
        changed[place.m_checksum] = static_cast<uint8_t>(changed[place.m_checksum] - (sum(changed) - sum(image)));
    }

    Substitutes m_substitutes;
    Replacements m_fields;     // at their places
    Replacements m_everywhere; // those that are found by their bytes
};

/// The replies to Read FRU Data show the changed image; what else they may have had is gone.
void ChangeReads(const Images& images, std::map<Bytes, Bytes>& replies) {
    for (const auto& [fru, image] : images) {
        for (size_t offset = 0; offset <= image.size(); offset += AreaChunk) {
            const auto reply = replies.find(AreaReadOf(fru, offset));
            if (reply == replies.end() || !IsGood(reply->second, ReadReplyHead)) continue;
            for (size_t index = ReadReplyHead; index < reply->second.size(); ++index) {
                const size_t place = offset + index - ReadReplyHead;
                reply->second[index] = place < image.size() ? image[place] : uint8_t{0};
            }
        }
    }
}

} // namespace

void Anonymise(CapturedController& captured, Board& board, uint64_t seed) {
    Anonymiser anonymiser(seed);
    std::map<uint8_t, FruLayout> layouts;
    for (const auto& [fru, image] : captured.m_images) {
        layouts[fru] = LayOut(image);
        anonymiser.Learn(image, layouts[fru]);
    }
    for (auto& [fru, image] : captured.m_images)
        image = anonymiser.ChangeImage(image, layouts[fru]);
    for (Bytes& record : captured.m_sdrs)
        record = anonymiser.Change(record);
    for (EthernetInterface& interface : board.m_interfaces) {
        const Bytes other = anonymiser.OtherMac({interface.m_mac.begin(), interface.m_mac.end()});
        std::ranges::copy(other, interface.m_mac.begin());
    }
    ChangeReads(captured.m_images, captured.m_replies);
}

} // namespace bladesim
