// A firmware upload of Redfish: its parameters in memory, its image in a file, both as they come.
#pragma once

#include "host/http/Body.h"
#include "host/web/ImageFile.h"
#include "host/web/redfish/Messages.h"
#include "host/web/serve/Multipart.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace bmhost {

class UploadForm final : public BodySink, private MultipartParts {
public:
    /// Of "UpdateParameters", and of all that is neither this nor the image.
    static constexpr uint64_t MostBesides = 128 * 1024;

    /// Of a whole form. As base64 an image is longer by a good third.
    static constexpr uint64_t LongestBody(uint64_t mostImage) { return mostImage + mostImage / 2 + MostBesides; }

    /// @param mostImage  bytes
    /// Throws Refusal when there are images enough already; std::system_error when there can be no file.
    UploadForm(const std::string& folder, const std::string& boundary, uint64_t mostImage);

    void Write(const void* data, std::size_t size) override { m_reader.Take({static_cast<const char*>(data), size}); }

    /// What is wrong with the form, once it has come; nothing when all is well.
    std::optional<RedfishAnswer> Complaint() const;
    const std::optional<std::string>& Parameters() const { return m_parameters; }
    /// Of the image, without folders; a name of its own where the client gave none that can be one.
    std::string ImageName() const;
    /// The image, to be read from its beginning; the form has it no more.
    std::shared_ptr<ImageFile> TakeImage();

private:
    enum class Part { Other, Parameters, Image };

    void BeginPart(const std::string& name, const std::string& file) override;
    void AddToPart(std::string_view bytes) override;
    void EndPart() override;

    const uint64_t m_mostImage;
    MultipartReader m_reader;
    std::shared_ptr<ImageFile> m_image;
    std::optional<std::string> m_parameters;
    std::string m_file;
    Part m_part = Part::Other;
    bool m_hasImage = false;
    bool m_isOdd = false; ///< a part stands twice
    bool m_isTooLarge = false;
};

} // namespace bmhost
