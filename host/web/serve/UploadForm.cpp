// A firmware upload of Redfish.
#include "host/web/serve/UploadForm.h"

#include <algorithm>
#include <cctype>
#include <utility>
#include <vector>

namespace bmhost {

namespace {

constexpr std::size_t LongestName = 255;
constexpr const char* NameOfNone = "image";

} // namespace

UploadForm::UploadForm(const std::string& folder, const std::string& boundary, uint64_t mostImage)
    : m_mostImage(mostImage),
      m_reader(boundary, *this),
      m_image(std::make_shared<ImageFile>(folder)) {}

void UploadForm::BeginPart(const std::string& name, const std::string& file) {
    m_part = Part::Other; // such as "OemParameters", which a service may ignore
    if (name == "UpdateParameters") {
        m_isOdd = m_isOdd || m_parameters;
        m_part = Part::Parameters;
        m_parameters = "";
    } else if (name == "UpdateFile") {
        m_isOdd = m_isOdd || m_hasImage;
        m_part = Part::Image;
        m_hasImage = true;
        m_file = file;
    }
}

void UploadForm::AddToPart(std::string_view bytes) {
    if (m_isOdd || m_isTooLarge) return;
    if (m_part == Part::Parameters) {
        m_isTooLarge = m_parameters->size() + bytes.size() > MostBesides;
        if (!m_isTooLarge) m_parameters->append(bytes);
    } else if (m_part == Part::Image) {
        m_isTooLarge = m_image->Size() + bytes.size() > m_mostImage;
        if (!m_isTooLarge) m_image->Write(bytes.data(), bytes.size());
    }
}

void UploadForm::EndPart() {
    m_part = Part::Other;
}

std::optional<RedfishAnswer> UploadForm::Complaint() const {
    if (m_isTooLarge) return ErrorAnswer(413, std::vector<ExtendedInfo>{{"PayloadTooLarge"}});
    const bool good = m_reader.IsWhole() && !m_isOdd && m_hasImage && m_image->Size() > 0;
    if (good) return std::nullopt;
    return ErrorAnswer(400, std::vector<ExtendedInfo>{{"MissingOrMalformedPart"}});
}

std::string UploadForm::ImageName() const {
    std::string name = m_file.substr(m_file.find_last_of("/\\") + 1); // all of it without one
    std::erase_if(name, [](unsigned char letter) { return iscntrl(letter) != 0; });
    if (name.size() > LongestName) name.resize(LongestName);
    return name.empty() || name == "." || name == ".." ? NameOfNone : name;
}

std::shared_ptr<ImageFile> UploadForm::TakeImage() {
    m_image->Finish();
    return std::exchange(m_image, nullptr);
}

} // namespace bmhost
