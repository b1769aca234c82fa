#pragma once

#include <string>

#include "foundation/exception.h"

namespace replay::internet {

// The system's socket library. Whoever uses sockets holds one of these meanwhile: where the library
// has to be started that is when the first is made, and it stops with the last. Here it is part of
// the system, and nothing happens.
class environment {
public:
    class generic : public exception {
    public:
        explicit generic(std::string message = {});
    };

    // The network is down.
    class subsystem_not_ready : public generic {
    public:
        explicit subsystem_not_ready(std::string message = {});
    };

    class subsystem_failed : public generic {
    public:
        explicit subsystem_failed(std::string message = {});
    };

    class version_not_supported : public generic {
    public:
        explicit version_not_supported(std::string message = {});
    };

    environment() noexcept {}
    ~environment() {}
    environment(const environment&) = delete;
    environment& operator=(const environment&) = delete;

    // True only when the system finds the machine not connected and says that it is offline. Not
    // to be mixed up with socket::offline(), which doubts where this one trusts.
    static bool offline() noexcept;
};

}  // namespace replay::internet
