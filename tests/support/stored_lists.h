#pragma once

#include <string>
#include <string_view>

#include "foundation/registry.h"
#include "platform/paths.h"
#include "support/temporary_folder.h"

namespace test_support {

// A home of its own for the registry, whose lists can be written and read behind the program's
// back.
class stored_lists {
public:
    using key = replay::registry2::tree_key;
    using lines = replay::registry2::text_list;

    stored_lists() : home_(folder_.path("home")) {}
    ~stored_lists() { replay::registry2::close_all(); }
    stored_lists(const stored_lists&) = delete;
    stored_lists& operator=(const stored_lists&) = delete;

    static void set(key where, std::u16string_view value, const lines& entries) {
        replay::registry2::at(where).set_multi_text(value, entries);
    }
    static lines get(key where, std::u16string_view value) {
        return replay::registry2::at(where).get_multi_text(value, {},
                                                           replay::registry2::write_back::no);
    }

private:
    const temporary_folder folder_;
    const replay::platform::paths::scoped_home home_;
};

}  // namespace test_support
