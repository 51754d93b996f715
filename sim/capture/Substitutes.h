// Other serial numbers and MAC addresses in place of the real ones: the same one for the same one, and none twice.
#pragma once

#include "sim/blade/MacText.h"
#include "sim/capture/FruLayout.h"

#include <map>
#include <random>
#include <set>
#include <string>

namespace bladesim {

class Substitutes {
public:
    explicit Substitutes(uint64_t seed) : m_random(seed) {}

    /// Bytes of a text field. Digits become digits and letters letters of the same case; all else stays, and so does
    /// the length. The same text in another code gets the same substitute.
    Bytes Serial(const Bytes& bytes, FieldCode code);
    /// The first three bytes, which tell the manufacturer, stay. So do addresses that are none: all zeros or ones.
    MacAddress Mac(const MacAddress& mac);

private:
    std::string Other(const std::string& text);
    std::string Draw(const std::string& text);

    std::mt19937_64 m_random;
    std::map<std::string, std::string> m_serials;
    std::map<MacAddress, MacAddress> m_macs;
    std::set<std::string> m_usedSerials;
    std::set<MacAddress> m_usedMacs;
};

} // namespace bladesim
