// The text of a storage file: rows to XML and back. The layout is described in docs/storage.md.
#pragma once

#include "platform/src/storage/DataStorage_Rows.h"

#include <stdexcept>
#include <string>

namespace BM_STORAGE {

/// The text is not a storage file's.
class XML_ERROR : public std::runtime_error {
public:
    XML_ERROR(int line, const std::string& reason) : std::runtime_error(reason), m_Line(line) {}
    /// Counted from 1.
    int Line() const { return m_Line; }

private:
    int m_Line;
};

/// Takes nothing that the layout does not know: what is not understood here would be lost with the next write. Throws
/// XML_ERROR. Time and memory grow with the text's length only, whatever it holds.
ROWS RowsFromXml(const std::string& text);

/// ASCII, with a line end at its end; what RowsFromXml reads back equal.
std::string XmlFromRows(const ROWS& rows);

} // namespace BM_STORAGE
