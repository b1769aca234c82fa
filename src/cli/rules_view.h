#pragma once

#include <string_view>

#include "cli/rules_command.h"
#include "rules/sender_list.h"

// What `rules` shows of the lists.
namespace brindlemoss::cli {

// "allow", "deny" or "trust".
std::string_view list_name(rules_options::list which);

// The list of that name in this process; not of the trusted.
rules::sender_list& sender_list_of(rules_options::list which);

// Prints the entries of a list, addresses before domains. An entry with fields missing is shown as
// it stands and told of. Gives the exit code. Throws registry2::generic.
int list_rules(const rules_options& options);

// Prints for each address what the lists say of it, and what score makes of that. Gives the exit
// code. Throws registry2::generic.
int check_rules(const rules_options& options);

}  // namespace brindlemoss::cli
