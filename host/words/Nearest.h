// What somebody who mistyped a word probably meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

/// How many letters have to be changed, added, left out or swapped with their neighbour to get from one to the other.
std::size_t EditDistance(std::string_view left, std::string_view right);

/// The candidate that is nearest to the word, whatever the case of either; empty when none is close.
std::string Nearest(std::string_view word, const std::vector<std::string>& candidates);

/// The same as the end of an error's text: "; did you mean inventory?", or nothing.
std::string DidYouMean(std::string_view word, const std::vector<std::string>& candidates);

} // namespace bmhost
