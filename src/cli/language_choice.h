#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/registry.h"

// The user's choice of languages as it stands in the store: "Mode" and the list "Languages".
namespace brindlemoss::cli {

// How the list is to be read. With any other number every language is accepted.
enum language_mode : std::uint32_t { accepts_only_listed = 0, refuses_listed = 1 };

struct language_choice {
    std::uint32_t mode;
    replay::registry2::text_list entries;
};

// Makes and writes nothing. Throws registry2::generic, as change_languages() does.
language_choice read_language_choice();

enum class language_wish { accept, refuse };

// The numbers of the languages that an argument names: a number, decimal or hexadecimal behind
// "0x", a name or a tag. Throws refusal where it names none that has a number.
std::vector<std::uint32_t> languages_of_argument(std::string_view argument);

// Edits the list, in one step, so that mail in these languages is accepted or refused from now on;
// the mode stays, and other entries do. An argument may also be a number that no language has, to
// take it off the list. Throws refusal where the list cannot say what is wished.
void change_languages(language_wish wish, const std::vector<std::string>& arguments);

}  // namespace brindlemoss::cli
