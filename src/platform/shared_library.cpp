#include "platform/shared_library.h"

#include <dlfcn.h>

namespace replay::platform {

namespace {

[[noreturn]] void throw_failure() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the loader of glibc keeps one text a thread
    const char* const words = ::dlerror();
    throw shared_library::failure(words != nullptr ? words : "unknown failure of the loader");
}

}  // namespace

void shared_library::closer::operator()(void* handle) const noexcept {
    ::dlclose(handle);
}

shared_library::shared_library(const char* name) : handle_(::dlopen(name, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) throw_failure();
}

void* shared_library::address_of(const char* name) const {
    void* const address = ::dlsym(handle_.get(), name);
    if (address == nullptr) throw_failure();
    return address;
}

}  // namespace replay::platform
