#pragma once

#include <memory>

#include "platform/code_page_list.h"
#include "platform/code_table.h"

namespace replay::platform {

// The table of a page whose method is one of the table methods, filled from its converter and from
// code_page_tables.txt. Null when the machine's library lacks the converter. Takes from some
// microseconds to a few milliseconds.
std::unique_ptr<const code_table> build_code_table(const code_page_entry& page);

}  // namespace replay::platform
