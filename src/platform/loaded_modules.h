#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace replay::platform {

// A program or shared library in memory.
struct loaded_module {
    std::uintptr_t base;        // what addresses in its file are added to
    std::uintptr_t code_begin;  // of its executable segments, from the first one
    std::uintptr_t code_end;    // to behind the last one
    std::string path;
    std::string build_id;  // hexadecimal; empty when it has none
};

// All that are loaded at this moment, the program first. Takes the dynamic loader's lock. Throws
// std::bad_alloc.
std::vector<loaded_module> loaded_modules();

}  // namespace replay::platform
