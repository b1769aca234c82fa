#pragma once

#include <string>
#include <typeinfo>

namespace replay::platform {

// The name of a class as the source writes it, without its namespaces: "depth_limit" for
// replay::internet::message2::depth_limit. Give it typeid(object) of a polymorphic object to learn
// the class that was thrown.
std::string type_name(const std::type_info& type);

}  // namespace replay::platform
