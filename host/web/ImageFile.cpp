// A firmware image on its way through the web door.
#include "host/web/ImageFile.h"

#include "host/http/Reply.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

std::atomic<int> images{0};

bm_dev::UniqueFd FileIn(const std::string& folder) {
    std::string name = folder + "/bmhost-web.XXXXXX";
    bm_dev::UniqueFd file(mkostemp(name.data(), O_CLOEXEC));
    if (!file) throw std::system_error(errno, std::generic_category(), "no file in " + folder);
    unlink(name.c_str());
    return file;
}

} // namespace

ImageFile::ImageFile(const std::string& folder) {
    if (images.fetch_add(1) >= Most) {
        --images;
        throw Refusal(503, "", "other images are on their way already", {{"Retry-After", "10"}});
    }
    try {
        m_file = FileIn(folder);
    } catch (...) {
        --images;
        throw;
    }
}

ImageFile::~ImageFile() {
    --images;
}

void ImageFile::Write(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = write(m_file.Get(), bytes, size);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) throw std::system_error(errno, std::generic_category(), "the image cannot be kept");
        bytes += written;
        size -= static_cast<std::size_t>(written);
        m_size += static_cast<uint64_t>(written);
    }
}

void ImageFile::Finish() {
    if (lseek(m_file.Get(), 0, SEEK_SET) != 0)
        throw std::system_error(errno, std::generic_category(), "the image cannot be read");
}

std::string ImageFolder() {
    const char* const folder = getenv("STATE_DIRECTORY");
    return folder != nullptr && folder[0] != '\0' ? folder : "/var/tmp";
}

} // namespace bmhost
