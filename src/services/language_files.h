#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Where the language files of the installation lie, and how they are called: the ISO code of the
// language, the number of the partner in decimal, and ".ini", as in "EN0.ini".
namespace brindlemoss::services::language_files {

// One that the folder lists.
struct listed_file {
    std::u16string iso;  // the name up to its first digit; all of it when there is none
    std::string path;
};

// The folder, with "/" at its end: "Languages", or else "languages", in the installation's
// directory. Where the installation names no directory, that is the folder of the product's data
// beside the program (platform::paths). Empty when there is none. Throws registry2::generic.
std::string folder();

// The path of one file. Where there is none of exactly this name, one that differs only in case is
// as good. Empty when there is none, and for a language that would lead out of the folder, with a
// "/", "\" or NUL in it.
std::string path_of(const std::string& folder, std::u16string_view language, std::uint32_t partner);

// All files "*.ini" of the folder, in any case, as the system lists them.
std::vector<listed_file> list(const std::string& folder);

}  // namespace brindlemoss::services::language_files
