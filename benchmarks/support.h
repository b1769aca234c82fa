#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace brindlemoss::benchmarks {

struct corpus {
    std::vector<std::string> mails;
    std::size_t bytes = 0;
};

// All files below the folder that BRINDLEMOSS_CORPUS names, read into memory once; the example
// mails of the project where the variable is not set. Ends the program when there are none.
const corpus& loaded_corpus();

// Calls of operator new since the program began.
std::size_t allocation_count();

// `piece` over and over, until there are `units` of them or a few more.
std::u16string repeated(std::u16string_view piece, std::size_t units);

}  // namespace brindlemoss::benchmarks
