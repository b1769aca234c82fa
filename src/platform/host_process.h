#pragma once

#include <string>
#include <string_view>

// The program that this code runs in.
namespace replay::platform::host_process {

// Its file with the full path, as it was when the program started; empty when the system does not
// tell. Throws only std::bad_alloc.
std::string path();

// The last element of a path.
std::string_view file_name(std::string_view path);

// Whether a program by that path is the resident agent: "BMAGENT.EXE" or "BMAGENT", in any case.
bool is_resident_agent(std::string_view path);

}  // namespace replay::platform::host_process
