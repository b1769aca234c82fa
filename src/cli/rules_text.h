#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace brindlemoss::cli {

// A text is no list of senders; says which line is wrong and why.
class list_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class entry_kind { addresses, domains };

// A list of senders in a text for people: UTF-8, an entry a line. A line end within an entry is
// shown as a blank, as the text would not come back whole otherwise.
std::string text_of_entry(std::u16string_view entry);

struct imported_list {
    std::u16string entries;  // each with a CR behind it
    std::size_t count = 0;
};

// The entries of such a text, whose lines may end in LF, CR LF or CR; empty lines do not count.
// Nothing that the list would leave out or stumble over passes. Throws list_error.
imported_list read_list(std::string_view text, entry_kind kind);

}  // namespace brindlemoss::cli
