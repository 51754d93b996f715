// Groups and parameters by name: with or without their common prefix, in any case.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

/// The group's number from a number or a name. An unknown number is passed on: the adaptor answers it. Throws
/// UsageError for an unknown name, with the nearest one when there is one that is close.
unsigned GroupNumber(std::string_view text);
/// The same for a parameter. The group's own parameters may be written as its columns are shown, with '_' for a blank.
unsigned ParameterNumber(std::string_view text, unsigned group);
/// Whether the parameter is numbered among the group's own: from the group's number up to the next group's.
bool IsParameterOf(unsigned id, unsigned group);

/// The names, as the protocol writes them; empty for an unknown number.
std::string_view GroupName(unsigned group);
std::string_view ParameterName(unsigned id);
/// A parameter's name for people: without its table's prefix, in lower case with blanks. Its number when unknown.
std::string ColumnName(unsigned id);

/// The shortest way to write each group, in lower case.
std::vector<std::string> ShortGroupNames();
/// The group's own parameters as they are typed: "bay=". None of an unknown group.
std::vector<std::string> ParameterWords(std::string_view group);

std::string LowerCase(std::string_view text);

/// "0x30200".
std::string Hex(unsigned number);

/// What a handler's result means, for people.
std::string_view ResultMeaning(int result);

} // namespace bmhost
