#pragma once

#include <functional>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace brindlemoss::cli {

// The group of the program's own texts in the language files.
inline constexpr char16_t help_group[] = u"command line";

// The text of an item of that group, nullopt when there is none.
using help_source = std::function<std::optional<std::string>(const std::string& item)>;

// Puts texts of `source` in place of all that the help of a program and its commands shows, where
// it has them. The items:
//
//   "brindlemoss"              what the program does
//   "rules allow add"          what a command does
//   "rules allow add --name"   an option of it
//   "rules allow add <SENDER>" an argument of it
//   "rules allow add (notes)"  the lines below its help, with "\n" between them
//   "heading: Options"         a heading, and likewise the words that CLI11 puts into its lines
//
// An option, argument or note without a text of its own has that of the commands around it:
// "rules allow --name", "rules --name", "--name". What has no words in code gets none.
void put_help_texts(CLI::App& program, const help_source& source);

// The same with the texts of the user's language; nothing for a user who has never kept anything.
// Call it where the program ends with the help: the stores tell nobody anything from then on. Does
// not throw.
void localize_help(CLI::App& program) noexcept;

}  // namespace brindlemoss::cli
