#pragma once

#include <memory>
#include <stdexcept>

namespace replay::platform {

// A shared library that is opened when it is needed rather than with the program, and closed with
// the object. What it gave may not be used any longer than that.
class shared_library {
public:
    // The loader's own words, in what().
    class failure : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    // Looks for it where the loader looks for libraries. Throws failure.
    explicit shared_library(const char* name);

    // The function by the linker's name `name`, as the type that the caller knows it to have.
    // Throws failure where there is none.
    template <typename function>
    function symbol(const char* name) const {
        return reinterpret_cast<function>(address_of(name));
    }

private:
    struct closer {
        void operator()(void* handle) const noexcept;
    };

    void* address_of(const char* name) const;

    std::unique_ptr<void, closer> handle_;
};

}  // namespace replay::platform
