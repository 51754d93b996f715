// A firmware image on its way through the web door: in a file without a name, which nobody else can open.
#pragma once

#include "host/api/Upload.h"

#include "bm_dev/UniqueFd.h"

#include <cstdint>
#include <string>

namespace bmhost {

/// Only so many are there at a time: each may be large.
class ImageFile final : public UploadSink {
public:
    static constexpr int Most = 2;

    /// Throws Refusal, 503, when there are as many as may be; std::system_error when there can be no file.
    explicit ImageFile(const std::string& folder);
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;
    ~ImageFile() override;

    void Write(const void* data, std::size_t size) override;
    /// The file is read from its beginning.
    void Finish() override;
    std::string Path() const override { return {}; }
    std::string Sha256() const override { return {}; }

    int Descriptor() const { return m_file.Get(); }
    uint64_t Size() const { return m_size; }

private:
    bm_dev::UniqueFd m_file;
    uint64_t m_size = 0;
};

/// The service manager's folder for this service; /var/tmp where there is none.
std::string ImageFolder();

} // namespace bmhost
