// The files of the page, which are a part of the program.
#pragma once

#include <span>
#include <string_view>

namespace bmhost {

struct PageFile {
    std::string_view m_name; ///< "index.html"
    std::string_view m_bytes;
};

std::span<const PageFile> PageFiles();

} // namespace bmhost
