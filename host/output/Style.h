// What an output can show: colours, characters beyond ASCII, how many columns.
#pragma once

namespace bmhost {

struct Style {
    bool m_color = false;
    bool m_utf8 = false;
    int m_width = 0;     ///< columns of the terminal; 0 = unlimited
    bool m_wide = false; ///< tables are not cut, whatever the width
};

} // namespace bmhost
