#pragma once

#include <string>
#include <utility>

#include "foundation/exception.h"

namespace brindlemoss::analysis::community {

// What an operation of the community client can end with. The caller goes on without the
// community's word.
class generic : public replay::exception {
public:
    explicit generic(std::string message = {}) : exception(std::move(message)) {
        append_domain("community_client");
    }
};

// The request does not fit one datagram.
class too_large : public generic {
public:
    explicit too_large(std::string message = {}) : generic(std::move(message)) {
        append_domain("too_large");
    }
};

// No server is known, or none yet.
class discovery_pending : public generic {
public:
    explicit discovery_pending(std::string message = {}) : generic(std::move(message)) {
        append_domain("discovery_pending");
    }
};

// No server answered within the time.
class timed_out : public generic {
public:
    explicit timed_out(std::string message = {}) : generic(std::move(message)) {
        append_domain("timed_out");
    }
};

// A server answered what cannot be right.
class malformed_response : public generic {
public:
    explicit malformed_response(std::string message = {}) : generic(std::move(message)) {
        append_domain("malformed_response");
    }
};

}  // namespace brindlemoss::analysis::community
