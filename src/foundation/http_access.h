#pragma once

namespace replay::internet::http {

// To be asked before a transfer that a script wants: throws std::runtime_error when
// socket::offline() is true, unless the user's value "Always Connected" is there and not 0. Throws
// what the registry throws.
void require_connection();

}  // namespace replay::internet::http
