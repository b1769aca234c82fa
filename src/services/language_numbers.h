#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// The languages that mail can be recognised as, with the numbers that Windows gives them (LCID, as
// listed in the open specification [MS-LCID]).
//
// A number names a language together with a country. Each language has the one of the country that
// Windows takes when none is named, with Spain's modern sort order for Spanish; so mail in any kind
// of English is 1033, in any kind of Portuguese 1046. Where the scripts of a language have numbers
// of their own, each stands by itself: both kinds of Chinese, Serbian, Azerbaijani and Uzbek.
// Serbian has the numbers of Serbia and Montenegro, the oldest ones, which every Windows knows.
namespace brindlemoss::language {

struct numbered_language {
    std::string_view tag;        // BCP 47, as "sr-Latn"
    std::string_view other_tag;  // an older or shorter one, as "iw" for "he"; may be empty
    std::uint32_t number;        // 0: there is none, mail in it counts as not recognised
    std::string_view name;       // in English, UTF-8
};

// All of them, by name.
std::span<const numbered_language> numbered_languages();

// nullptr when there is none. Tags are compared as they are, both of a language count.
const numbered_language* language_of_tag(std::string_view tag);
const numbered_language* language_of_number(std::uint32_t number);

// Those that somebody may mean by a name or tag, in any case: "Chinese" and "zh" are both scripts.
std::vector<const numbered_language*> languages_called(std::string_view name);

// Those of one language whatever the country, as 2057 is English too.
std::vector<const numbered_language*> relatives_of_number(std::uint32_t number);

}  // namespace brindlemoss::language
