// What somebody who mistyped a word probably meant.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bm_dev {

/// How many letters have to be changed, added, left out or swapped with their neighbour to get from one to the other.
inline std::size_t EditDistance(std::string_view left, std::string_view right) {
    // Three rows of the table of distances between beginnings: a swap looks back by two.
    std::vector<std::size_t> before(right.size() + 1);
    std::vector<std::size_t> last(right.size() + 1);
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= left.size(); ++i) {
        std::swap(before, last);
        std::swap(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const std::size_t replace = last[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
            row[j] = std::min({replace, last[j] + 1, row[j - 1] + 1});
            const bool swapped = i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
            if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
        }
    }
    return row.back();
}

/// One slip in a short word, one more for every four letters; never as many as the word has letters.
inline bool IsCloseEnough(std::size_t distance, std::size_t length) {
    constexpr std::size_t lettersPerSlip = 4;
    return distance < length && distance <= 1 + length / lettersPerSlip;
}

/// The candidate that is nearest to the word, whatever the case of either; empty when none is close.
inline std::string Nearest(std::string_view word, const std::vector<std::string>& candidates) {
    const auto lowerCase = [](std::string_view text) {
        std::string lower(text);
        std::ranges::transform(lower, lower.begin(),
                               [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
        return lower;
    };
    const std::string typed = lowerCase(word);
    const std::string* nearest = nullptr;
    std::size_t nearestDistance = typed.size();
    for (const std::string& candidate : candidates) {
        const std::size_t distance = EditDistance(typed, lowerCase(candidate));
        if (distance >= nearestDistance) continue;
        nearestDistance = distance;
        nearest = &candidate;
    }
    return nearest != nullptr && IsCloseEnough(nearestDistance, typed.size()) ? *nearest : std::string();
}

/// The same as the end of an error's text: "; did you mean inventory?", or nothing.
inline std::string DidYouMean(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string nearest = Nearest(word, candidates);
    return nearest.empty() ? nearest : "; did you mean " + nearest + "?";
}

} // namespace bm_dev
