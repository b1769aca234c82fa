#pragma once

#include <brindlemoss/component.h>

#include <string>
#include <string_view>

// The classes as they are described to people and to other systems.
namespace brindlemoss::component {

// "text", "number", "truth"
std::string_view name_of(value_type type);

// "in", "out", "in out", "result"
std::string_view name_of(direction way);

// "GetFooter(ContentType: text, out Footer: text) -> Insert: truth", in the interface's order.
std::string signature(const method_description& method);

// All interfaces and classes in the interface description language of the component model, as
// share/brindlemoss.idl has it. It also lists the identifiers that were made for them.
std::string interface_description();

}  // namespace brindlemoss::component
