// A firmware image on its way from a client to a file of the host's own.
#pragma once

#include "host/http/Body.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace bmhost {

/// Takes the bytes of one image. Unless it is finished, its destructor leaves no file. Used by one thread at a time.
class UploadSink : public BodySink {
public:
    /// All bytes are there. From now on the file belongs to the order that is given its path.
    virtual void Finish() = 0;

    virtual std::string Path() const = 0;
    /// In hexadecimal; of a finished image.
    virtual std::string Sha256() const = 0;
};

/// Makes a file that only the host may read, for an image of that many bytes. Throws Refusal (host/http/Reply.h), or
/// std::exception, which the client is told as 500.
using MakeUploadSink = std::function<std::unique_ptr<UploadSink>(uint64_t size)>;

} // namespace bmhost
