#pragma once

#include <brindlemoss/component.h>

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace brindlemoss::component {

// Whether a call by name takes an argument for a parameter that goes this way.
constexpr bool is_given(direction way) {
    return way == direction::in || way == direction::in_out;
}

// How a method is called by its name: its parameters, and what makes the call from arguments that
// may be of any number and type. That does not throw but std::bad_alloc.
struct bound_method {
    static constexpr std::size_t most_parameters = 4;

    const char* name;
    std::array<parameter, most_parameters> parameters;
    std::size_t parameter_count;
    status (*call)(object& target, const bound_method& method, std::span<const argument> arguments,
                   std::vector<value>& results);
};

// A class of the component: what it is outside, how its methods are called by name, and what makes
// an object of it.
struct class_row {
    class_description description;
    std::span<const bound_method> methods;
    std::unique_ptr<object> (*make)(const class_row& row);
};

// All of them, in the order of their names.
std::span<const class_row> class_rows() noexcept;

}  // namespace brindlemoss::component
