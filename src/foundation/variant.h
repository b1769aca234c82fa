#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "foundation/exception.h"

namespace replay {

// A value whose kind is known at run time only: a setting, an argument of a call by name.
class variant {
public:
    // Thrown by a conversion that the kind of the value does not allow.
    class type_mismatch : public exception {
    public:
        type_mismatch();
    };

    // The order of the kinds is that of the numbers they are known by outside.
    enum class kind { none, integer, floating, byte_string, wide_string };

    variant() = default;
    explicit variant(std::int64_t number) : value_(number) {}
    explicit variant(double number) : value_(number) {}
    explicit variant(std::string text) : value_(std::move(text)) {}
    explicit variant(std::u16string text) : value_(std::move(text)) {}

    kind type() const noexcept { return static_cast<kind>(value_.index()); }

    // Conversions. None can be made of kind::none, nor an integer of a number beyond 64 bits; a
    // text gives the decimal number that it begins with, with its sign, and 0 if it begins with
    // none.

    bool as_boolean() const;          // anything but zero
    std::int32_t as_integer() const;  // the low 32 bits of as_large()
    std::int64_t as_large() const;    // a text beyond 64 bits gives the nearest 64-bit number
    double as_floating() const;
    std::string as_string() const;  // numbers in decimal; wide text in UTF-8

    bool operator==(const variant&) const = default;

private:
    std::variant<std::monostate, std::int64_t, double, std::string, std::u16string> value_;
};

}  // namespace replay
