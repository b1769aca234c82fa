#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "component/class_row.h"

// Makes from a method of an interface its row in the table of methods that are called by name: the
// types of the parameters come from the method itself, only names and directions are told.
namespace brindlemoss::component {

namespace detail {

// Where a parameter keeps its value during a call by name.
template <typename stored>
struct slot {
    stored kept{};

    static constexpr value_type type = std::same_as<stored, truth>          ? value_type::yes_or_no
                                       : std::same_as<stored, std::int32_t> ? value_type::number
                                                                            : value_type::text;

    // False when the argument is of another type.
    bool take(const argument& given) {
        if constexpr (type == value_type::yes_or_no) {
            if (!std::holds_alternative<bool>(given)) return false;
            kept = std::get<bool>(given) ? yes : no;
        } else if constexpr (type == value_type::number) {
            if (!std::holds_alternative<std::int32_t>(given)) return false;
            kept = std::get<std::int32_t>(given);
        } else {
            if (!std::holds_alternative<std::u16string_view>(given)) return false;
            kept = std::get<std::u16string_view>(given);
        }
        return true;
    }

    value give() {
        if constexpr (type == value_type::yes_or_no) {
            return kept != no;
        } else if constexpr (type == value_type::number) {
            return kept;
        } else {
            return std::u16string(std::move(kept));
        }
    }
};

template <typename taken>
using stored_type = std::remove_const_t<std::remove_pointer_t<std::remove_reference_t<taken>>>;

template <typename taken>
taken passed(stored_type<taken>& kept) {
    if constexpr (std::is_pointer_v<taken>) {
        return &kept;
    } else {
        return kept;
    }
}

// Whether a parameter of this type can go that way.
template <typename taken>
constexpr bool can_go(direction way) {
    return std::is_lvalue_reference_v<taken> == (way != direction::in);
}

template <auto method>
struct call_by_name;

template <typename interface_type, typename... taken,
          status (interface_type::*method)(taken...) noexcept>
struct call_by_name<method> {
    static constexpr std::size_t count = sizeof...(taken);
    static_assert(count <= bound_method::most_parameters);

    using slots = std::tuple<slot<stored_type<taken>>...>;

    static constexpr void set_types(bound_method& row) {
        std::size_t index = 0;
        ((row.parameters[index++].type = slot<stored_type<taken>>::type), ...);
    }

    static constexpr bool can_all_go(const bound_method& row) {
        std::size_t index = 0;
        return (can_go<taken>(row.parameters[index++].way) && ...);
    }

    static status call(object& target, const bound_method& row, std::span<const argument> arguments,
                       std::vector<value>& results) {
        return call(target, row, arguments, results, std::make_index_sequence<count>());
    }

private:
    template <std::size_t... index>
    static status call(object& target, const bound_method& row, std::span<const argument> arguments,
                       std::vector<value>& results, std::index_sequence<index...>) {
        slots kept;
        std::size_t used = 0;
        [[maybe_unused]] const auto take = [&](auto& into, const parameter& told) {
            if (!is_given(told.way)) return true;
            return used < arguments.size() && into.take(arguments[used++]);
        };
        const bool fits = (take(std::get<index>(kept), row.parameters[index]) && ...);
        if (!fits || used != arguments.size()) return invalid_call;

        const status outcome = (static_cast<interface_type&>(target).*
                                method)(passed<taken>(std::get<index>(kept).kept)...);
        if (outcome != success) return outcome;
        std::optional<value> result;
        std::vector<value> others;
        [[maybe_unused]] const auto give = [&](auto& from, const parameter& told) {
            if (told.way == direction::result) result = from.give();
            if (told.way == direction::out || told.way == direction::in_out) {
                others.push_back(from.give());
            }
        };
        (give(std::get<index>(kept), row.parameters[index]), ...);
        if (result) others.insert(others.begin(), std::move(*result));
        results = std::move(others);
        return outcome;
    }
};

}  // namespace detail

// A method and the names and directions of its parameters, in its order.
template <auto method, std::same_as<parameter>... parameter_types>
consteval bound_method bound(const char* name, parameter_types... parameters) {
    using caller = detail::call_by_name<method>;
    static_assert(sizeof...(parameters) == caller::count);
    bound_method row{name, {parameters...}, caller::count, caller::call};
    caller::set_types(row);
    if (!caller::can_all_go(row)) throw "a parameter cannot go that way";
    return row;
}

consteval parameter in(const char* name) {
    return {name, direction::in};
}
consteval parameter out(const char* name) {
    return {name, direction::out};
}
consteval parameter in_out(const char* name) {
    return {name, direction::in_out};
}
consteval parameter result(const char* name = "Result") {
    return {name, direction::result};
}

// What the outside sees of a table; the table must live as long.
template <std::size_t count>
constexpr std::array<method_description, count> described(const bound_method (&table)[count]) {
    std::array<method_description, count> seen{};
    for (std::size_t index = 0; index < count; ++index) {
        const bound_method& row = table[index];
        seen[index] = {row.name, std::span(row.parameters.data(), row.parameter_count)};
    }
    return seen;
}

}  // namespace brindlemoss::component
