// What an output can show: colours, characters beyond ASCII, how many columns.
#include "host/output/Style.h"

#include <charconv>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace bmhost {

namespace {

std::string_view Variable(const char* name) {
    const char* const value = getenv(name);
    return value != nullptr ? value : "";
}

// The first of these that is set decides, as for the C library.
bool Utf8Locale() {
    std::string locale;
    for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        if (locale.empty()) locale = Variable(name);
    }
    for (const char* const charset : {"UTF-8", "utf8", "utf-8", "UTF8"}) {
        if (locale.find(charset) != std::string::npos) return true;
    }
    return false;
}

int ColumnsOfTerminal(int descriptor) {
    const std::string_view told = Variable("COLUMNS");
    int columns = 0;
    std::from_chars(told.data(), told.data() + told.size(), columns);
    if (columns > 0) return columns;
    winsize size{};
    return ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

} // namespace

Style StyleOf(int descriptor, bool wide) {
    if (isatty(descriptor) != 1) return {false, false, 0, wide};
    return {ColorWanted(descriptor), Utf8Locale(), ColumnsOfTerminal(descriptor), wide};
}

bool ColorWanted(int descriptor) {
    return isatty(descriptor) == 1 && Variable("NO_COLOR").empty();
}

} // namespace bmhost
