// Groups and parameters by name: with or without their common prefix, in any case.
#pragma once

#include <string>
#include <string_view>

namespace BMHOST {

/// The group's number from a number or a name. An unknown number is passed on: the adaptor answers it. Throws
/// USAGE_ERROR for an unknown name, with the nearest one.
unsigned GroupNumber(std::string_view a_Text);
/// The same for a parameter. The group's own parameters may be written as its columns are shown, with '_' for a blank.
unsigned ParameterNumber(std::string_view a_Text, unsigned a_Group);
/// Whether the parameter is numbered among the group's own: from the group's number up to the next group's.
bool IsParameterOf(unsigned a_Id, unsigned a_Group);

/// The names, as the protocol writes them; empty for an unknown number.
std::string_view GroupName(unsigned a_Group);
std::string_view ParameterName(unsigned a_Id);
/// A parameter's name for people: without its table's prefix, in lower case with blanks. Its number when unknown.
std::string ColumnName(unsigned a_Id);

/// "0x30200".
std::string Hex(unsigned a_Number);

/// What a handler's result means, for people.
std::string_view ResultMeaning(int a_Result);

} // namespace BMHOST
