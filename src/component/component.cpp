#include <brindlemoss/component.h>

#include <string>

#include "component/class_row.h"
#include "foundation/ascii.h"

namespace brindlemoss::component {

namespace {

constexpr std::string_view version_suffix = ".1";

const class_row* find_class(std::string_view prog_id) {
    if (prog_id.ends_with(version_suffix)) prog_id.remove_suffix(version_suffix.size());
    for (const class_row& row : class_rows()) {
        if (replay::ascii::equals_ignoring_case(prog_id, row.description.prog_id)) return &row;
    }
    return nullptr;
}

}  // namespace

object::~object() = default;

std::span<const class_description> classes() noexcept {
    // Never destroyed: threads of a host may call until the very end.
    static const std::vector<class_description>& seen = *[] {
        auto all = std::make_unique<std::vector<class_description>>();
        for (const class_row& row : class_rows()) all->push_back(row.description);
        return all.release();
    }();
    return seen;
}

std::unique_ptr<object> create_object(std::string_view prog_id) {
    const class_row* const row = find_class(prog_id);
    if (row == nullptr) {
        throw unknown_class("there is no class \"" + std::string(prog_id) + "\"");
    }
    return row->make(*row);
}

}  // namespace brindlemoss::component
