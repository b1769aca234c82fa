#pragma once

#include <string>

#include "foundation/exception.h"

namespace test_support {

// The text of the exception that `work` throws, "" when it throws none.
template <typename work>
std::string failure_of(work&& do_work) {
    try {
        do_work();
    } catch (const replay::exception& failure) {
        return failure.what();
    }
    return "";
}

}  // namespace test_support
