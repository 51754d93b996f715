// What an output can show: colours, characters beyond ASCII, how many columns.
#pragma once

namespace bmhost {

struct Style {
    bool m_color = false;
    bool m_utf8 = false;
    int m_width = 0;     ///< columns of the terminal; 0 = unlimited
    bool m_wide = false; ///< tables are not cut, whatever the width
};

/// That of the terminal at the descriptor; anything else has neither colours nor a width, and shows ASCII.
Style StyleOf(int descriptor, bool wide = false);

/// Whether the descriptor is a terminal, and colours are not turned off.
bool ColorWanted(int descriptor);

} // namespace bmhost
