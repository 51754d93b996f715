// The text of a storage file: rows to XML and back. The layout is described in docs/storage.md.
#pragma once

#include "platform/src/storage/DataStorage_Rows.h"

#include <stdexcept>
#include <string>

namespace bm_storage {

/// The text is not that of a storage file.
class XmlError : public std::runtime_error {
public:
    XmlError(int line, const std::string& reason) : std::runtime_error(reason), m_line(line) {}
    /// Counted from 1.
    int Line() const { return m_line; }

private:
    int m_line;
};

/// Accepts only what the layout defines, since the next write would lose anything else. Throws XmlError. Time and
/// memory grow only with the text's length, whatever it contains.
Rows RowsFromXml(const std::string& text);

/// ASCII text that ends in a line end; RowsFromXml gives equal rows back.
std::string XmlFromRows(const Rows& rows);

} // namespace bm_storage
