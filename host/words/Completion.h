// What a word of a line may become.
#pragma once

#include "host/words/Commands.h"

#include <string>
#include <vector>

namespace bmhost {

struct Completion {
    std::vector<std::string> m_words; ///< in the order of the alphabet
    Choices::Kind m_kind = Choices::Kind::Words;
};

/// @param earlier  the line's words before the one that is begun
Completion Complete(const Commands& commands, const std::vector<std::string>& earlier, const std::string& begun);
/// The same of the text of a line; words alone.
std::vector<std::string> CompleteText(const Commands& commands, const std::string& text);

} // namespace bmhost
