// Reads a shelf file: which blades stand in which slots. docs/shelf.md describes its keys.
#include "sim/shelf/ShelfFile.h"

#include "sim/base/JsonReader.h"

#include <algorithm>
#include <filesystem>

namespace bladesim {
namespace {

namespace fs = std::filesystem;

constexpr size_t LongestName = 32;
constexpr const char* NamesOfOthers[] = {"localhost", "shelf"};

/// Also a folder, and a name in a certificate.
bool IsHostName(const std::string& name) {
    constexpr char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789-";
    return !name.empty() && name.size() <= LongestName && name.find_first_not_of(letters) == std::string::npos &&
           name.front() != '-' && name.back() != '-' && name.find_first_not_of("0123456789") != std::string::npos;
}

/// A name stays as it is; the path of a file is meant from the shelf file's folder.
std::string BladeFrom(const std::string& folder, const std::string& blade) {
    const bool isFile = blade.find('/') != std::string::npos || blade.ends_with(".json");
    return isFile ? (fs::path(folder) / blade).string() : blade;
}

ShelfPlace ReadPlace(JsonObject object, const std::string& folder, const std::vector<ShelfPlace>& before) {
    ShelfPlace place;
    place.m_name = object.Text("name");
    if (!IsHostName(place.m_name))
        object.Fail("name", "expected a host name: small letters, digits and dashes, 32 at most, a letter among them");
    if (std::ranges::find(NamesOfOthers, place.m_name) != std::end(NamesOfOthers))
        object.Fail("name", place.m_name + " is the name of another host");
    place.m_slot = static_cast<unsigned>(object.Integer("slot", 1, MaxSlots));
    for (const ShelfPlace& other : before) {
        if (other.m_name == place.m_name) object.Fail("name", place.m_name + " is a blade already");
        if (other.m_slot == place.m_slot) object.Fail("slot", other.m_name + " is in this slot");
    }
    place.m_blade = BladeFrom(folder, object.Text("blade"));
    object.RejectOthers();
    return place;
}

} // namespace

std::vector<ShelfPlace> ReadShelfFile(const std::string& file) {
    const JsonFile json = ReadJsonFile(file);
    JsonObject root(json);
    for (const char* forPeople : {"$schema", "description"}) {
        if (root.Has(forPeople)) root.Text(forPeople);
    }
    std::vector<ShelfPlace> places;
    for (const JsonObject& object : root.Objects("blades"))
        places.push_back(ReadPlace(object, fs::path(file).parent_path(), places));
    if (places.empty()) root.Fail("blades", "expected one blade at least");
    root.RejectOthers();
    std::ranges::sort(places, {}, &ShelfPlace::m_slot);
    return places;
}

} // namespace bladesim
