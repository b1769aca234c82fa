#include "component/description.h"

#include <cstddef>

namespace brindlemoss::component {

namespace {

constexpr guid_text library_id = "{0CA12A41-7897-4DE9-BCEF-13D6D1A46B0F}";
constexpr guid_text application_id = "{7A6FB9F6-F72F-4CA1-9634-8CA0F01135A6}";

constexpr std::string_view head =
    R"(// The classes of Brindlemoss in the interface description language of the component model.
// Made by "brindlemoss call --list --idl"; a test keeps both alike.

import "oaidl.idl";
import "ocidl.idl";
import "objsafe.idl";
)";

std::string without_braces(std::string_view guid) {
    return std::string(guid.substr(1, guid.size() - 2));
}

std::string_view idl_type(value_type type) {
    switch (type) {
        case value_type::text: return "BSTR";
        case value_type::number: return "long";
        case value_type::yes_or_no: return "VARIANT_BOOL";
    }
    return {};
}

std::string_view idl_direction(direction way) {
    switch (way) {
        case direction::in: return "[in] ";
        case direction::out: return "[out] ";
        case direction::in_out: return "[in,out] ";
        case direction::result: return "[out,retval] ";
    }
    return {};
}

// The only argument that goes in behind a pointer is that of IRules::Silent.
bool is_pointer(const class_description& of, const method_description& method,
                const parameter& each) {
    return each.way != direction::in ||
           (of.interface_name == IRules::name && std::string_view(method.name) == "Silent");
}

std::string idl_method(const class_description& of, const method_description& method) {
    std::string text = std::string("HRESULT ").append(method.name) + "(";
    std::string_view before;
    for (const parameter& each : method.parameters) {
        text.append(before).append(idl_direction(each.way)).append(idl_type(each.type));
        text.append(is_pointer(of, method, each) ? "* " : " ").append(each.name);
        before = ", ";
    }
    return text + ");\n";
}

std::string idl_interface(const class_description& of) {
    const std::string name = of.interface_name;
    std::string text = "\n[object, uuid(" + without_braces(of.interface_id) +
                       "), dual, pointer_default(unique),\n helpstring(\"" + name +
                       " Interface\")]\ninterface " + name + " : IDispatch {\n";
    for (std::size_t index = 0; index < of.methods.size(); ++index) {
        text += "    [id(" + std::to_string(index + 1) + ")] " + idl_method(of, of.methods[index]);
    }
    return text + "};\n";
}

std::string idl_class(const class_description& of) {
    const std::string prog_id = of.prog_id;
    std::string text = "\n    // " + prog_id + ", " + prog_id + ".1; threading model \"Both\"\n";
    text += "    [uuid(" + without_braces(of.class_id) + "), helpstring(\"" + of.friendly_name +
            "\")]\n    coclass " + of.name + " {\n        [default] interface " +
            of.interface_name + ";\n";
    if (of.safe_for_scripting) text += "        interface IObjectSafety;\n";
    return text + "    };\n";
}

}  // namespace

std::string_view name_of(value_type type) {
    switch (type) {
        case value_type::text: return "text";
        case value_type::number: return "number";
        case value_type::yes_or_no: return "truth";
    }
    return {};
}

std::string_view name_of(direction way) {
    switch (way) {
        case direction::in: return "in";
        case direction::out: return "out";
        case direction::in_out: return "in out";
        case direction::result: return "result";
    }
    return {};
}

std::string signature(const method_description& method) {
    std::string arguments;
    std::string result;
    for (const parameter& each : method.parameters) {
        std::string described = std::string(each.name) + ": ";
        described += name_of(each.type);
        if (each.way == direction::result) {
            result = " -> " + described;
            continue;
        }
        if (!arguments.empty()) arguments += ", ";
        if (each.way != direction::in) arguments.append(name_of(each.way)) += ' ';
        arguments += described;
    }
    return std::string(method.name) + "(" + arguments + ")" + result;
}

std::string interface_description() {
    std::string text(head);
    for (const class_description& each : classes()) text += idl_interface(each);
    text += "\n// The application is Brindlemoss, Core.DLL, " + std::string(application_id) +
            ".\n[uuid(" + without_braces(library_id) +
            "), version(1.0), helpstring(\"Brindlemoss 1.0 Type Library\")]\n"
            "library BrindlemossLib {\n    importlib(\"stdole2.tlb\");\n";
    for (const class_description& each : classes()) text += idl_class(each);
    return text + "};\n";
}

}  // namespace brindlemoss::component
