// The two texts that the library exports for tools that ask what is installed.
#pragma once

extern "C" {

/// Constant texts, valid as long as the library is mapped; callable at any time from any thread.
[[gnu::visibility("default")]] const char* VELDO_GetCopyRight();
[[gnu::visibility("default")]] const char* VELDO_VersionString();
}
