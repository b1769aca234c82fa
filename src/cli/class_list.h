#pragma once

#include <string>

// The classes of the component, for `call --list`.
namespace brindlemoss::cli {

// For people: of each class its names, identifiers and properties in two lines, and a line a
// method.
std::string class_list();

// One object a line and class.
std::string class_list_json();

}  // namespace brindlemoss::cli
