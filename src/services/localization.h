#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/sync.h"
#include "services/string_table.h"

namespace brindlemoss::services {

// The texts of the front ends by group and item, in the user's language and, where that has none,
// in English. They come from the language files of the installation (language_files). Any thread
// may call; reload() and set_language() wait until nobody else is inside.
class localization {
public:
    // Reads the files of the user's language, the value "Language" of the user's tree, and of
    // English. There are no texts before the first call. A file that is missing, cannot be read or
    // is larger than string_table allows leaves its language without texts. Throws
    // registry2::generic, and then the texts stay as they were.
    void reload();

    // The text; nullopt when neither language has one that is not empty. Case does not count.
    std::optional<std::u16string> get_string(std::u16string_view group,
                                             std::u16string_view item) const;

    // Keeps the user's choice, whether or not there is such a language. The texts follow with the
    // next reload(). Throws registry2::generic.
    void set_language(std::u16string_view iso);

    // A line for each language that is installed, in the order of the folder: ISO code, TAB, its
    // own name, TAB, its English name, CR. The names are the items "3" and "4" of the group
    // "system". Throws registry2::generic.
    std::u16string get_languages() const;

private:
    mutable replay::rw guard_;
    std::optional<string_table> language_table_;
    std::optional<string_table> fallback_table_;
};

}  // namespace brindlemoss::services
