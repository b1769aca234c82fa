#pragma once

#include <sys/resource.h>

namespace test_support {

// A limit on the size of files stands for the full disk: writes beyond it fail, or fall short,
// where SIGXFSZ is ignored. It holds for the programs that are run as well.
class size_limit {
public:
    explicit size_limit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit lower{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &lower);
    }
    ~size_limit() { ::setrlimit(RLIMIT_FSIZE, &before_); }
    size_limit(const size_limit&) = delete;
    size_limit& operator=(const size_limit&) = delete;

private:
    rlimit before_{};
};

}  // namespace test_support
