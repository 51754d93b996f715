// What the program bmhost-tls tells the command that has started it: lines, each a word, a blank and a text.
#pragma once

namespace bmhost {

/// Standard input of the helper is the command's end of the connection, standard output takes these lines.
constexpr const char* HelperProgram = "bmhost-tls";

/// From here on bytes are copied.
constexpr const char* HelperReady = "ready";
/// The other side has ended the connection as TLS wants it.
constexpr const char* HelperEnded = "ended";
/// What went wrong; the text says it, with its cure. The file of who is trusted cannot be used:
constexpr const char* HelperUsage = "usage";
/// Nobody is there, or the connection broke.
constexpr const char* HelperUnreachable = "unreachable";
/// Who is there is not who was asked for.
constexpr const char* HelperUntrusted = "untrusted";

} // namespace bmhost
