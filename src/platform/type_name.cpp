#include "platform/type_name.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace replay::platform {

std::string type_name(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    std::string name = status == 0 ? readable.get() : type.name();
    const auto colon = name.rfind("::");
    return colon == std::string::npos ? name : name.substr(colon + 2);
}

}  // namespace replay::platform
