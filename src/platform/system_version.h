#pragma once

#include <string>
#include <string_view>

namespace replay::platform {

// The operating system as "4:major.minor": 4 stands for Linux, the numbers are those of the kernel.
std::string system_version();

// The same from the kernel's name for its release ("6.1.0-18-amd64"). A number that is not there
// is 0.
std::string system_version_of(std::string_view release);

}  // namespace replay::platform
