// The text of a storage file: rows to XML and back. The layout is described in docs/storage.md.
#pragma once

#include "platform/src/storage/DataStorage_Rows.h"

#include <stdexcept>
#include <string>

namespace bm_storage {

/// The text is not a storage file's.
class XmlError : public std::runtime_error {
public:
    XmlError(int line, const std::string& reason) : std::runtime_error(reason), m_line(line) {}
    /// Counted from 1.
    int Line() const { return m_line; }

private:
    int m_line;
};

/// Takes nothing that the layout does not know: what is not understood here would be lost with the next write. Throws
/// XmlError. Time and memory grow with the text's length only, whatever it holds.
Rows RowsFromXml(const std::string& text);

/// ASCII, with a line end at its end; what RowsFromXml reads back equal.
std::string XmlFromRows(const Rows& rows);

} // namespace bm_storage
