#pragma once

#include <brindlemoss/component.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "component/class_row.h"
#include "component/library_life.h"
#include "foundation/ascii.h"

namespace brindlemoss::component {

// What all classes have in common, above the interface of one of them. The row must be that of the
// class, and outlive the object.
template <typename interface_type>
class component_object : public interface_type {
public:
    explicit component_object(const class_row& row) : row_(row), safety_(row.description) {}

    const class_description& description() const noexcept final { return row_.description; }

    void* query(std::string_view interface_name) noexcept final {
        if (interface_name == interface_type::name) return static_cast<interface_type*>(this);
        if (interface_name == IObjectSafety::name && row_.description.safe_for_scripting) {
            return static_cast<IObjectSafety*>(&safety_);
        }
        return nullptr;
    }

    status invoke(std::string_view method, std::span<const argument> arguments,
                  std::vector<value>& results) noexcept final try {
        std::vector<value> came;  // an argument may be a text that still stands in `results`
        const status outcome = call(method, arguments, came);
        results = std::move(came);
        return outcome;
    } catch (...) {  // without memory for the results
        results.clear();
        return invalid_call;
    }

private:
    status call(std::string_view method, std::span<const argument> arguments,
                std::vector<value>& results) {
        for (const bound_method& each : row_.methods) {
            if (replay::ascii::equals_ignoring_case(method, each.name)) {
                return each.call(*this, each, arguments, results);
            }
        }
        return invalid_call;
    }

    class declared_safety final : public IObjectSafety {
    public:
        explicit declared_safety(const class_description& description)
            : description_(description) {}

        status GetInterfaceSafetyOptions(std::string_view interface_name, std::uint32_t& supported,
                                         std::uint32_t& enabled) noexcept override {
            if (interface_name != description_.interface_name) return invalid_call;
            supported = safe_for_untrusted_caller;
            enabled = safe_for_untrusted_caller;
            return success;
        }

    private:
        const class_description& description_;
    };

    const class_row& row_;
    const counted_life life_;
    declared_safety safety_;
};

}  // namespace brindlemoss::component
