// The host's log, in the place of the platform's: formats every line and forgets it.
#include "bm/Log.h"

#include <cstdarg>
#include <cstdio>

void bmiLog(int, const char*, const char* format, ...) {
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
}
