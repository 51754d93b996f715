// Where the firmware images of clients go.
#include "host/ImageSink.h"

#include "host/http/Reply.h"
#include "host/orders/FirmwareFile.h"
#include "host/resident/Resident.h"
#include "host/words/Error.h"

#include <string>
#include <string_view>

namespace bmhost {

namespace {

class ImageSink final : public UploadSink {
public:
    ImageSink(const std::string& folder, uint64_t size) : m_file(folder, size) {}

    void Write(const void* data, std::size_t size) override {
        m_file.Write(std::string_view(static_cast<const char*>(data), size));
    }
    void Finish() override {
        m_file.Close();
        m_path = m_file.Path();
        m_file.Release();
    }
    std::string Path() const override { return m_path; }
    std::string Sha256() const override { return m_file.Sha256(); }

private:
    FirmwareFile m_file;
    std::string m_path; ///< of the finished image
};

} // namespace

MakeUploadSink ImagesOf(Resident& host) {
    return [&host](uint64_t size) -> std::unique_ptr<UploadSink> {
        try {
            host.ClaimUpgrades();
        } catch (const UsageError& error) {
            throw Refusal(409, std::to_string(size) + " bytes", error.what());
        }
        return std::make_unique<ImageSink>(host.ImageFolder(), size);
    };
}

} // namespace bmhost
