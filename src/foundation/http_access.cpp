#include "foundation/http_access.h"

#include <stdexcept>

#include "foundation/registry.h"
#include "foundation/stream_socket.h"

namespace replay::internet::http {

void require_connection() {
    if (!socket::offline()) return;
    // The default of the table is for those who would rather try; scripts are told at once.
    const registry2::key& user = registry2::at(registry2::tree_key::user_root);
    const bool is_taken_as_connected =
        user.get_integer(u"Always Connected", 0, registry2::write_back::no) != 0;
    if (!is_taken_as_connected) throw std::runtime_error("The machine is offline");
}

}  // namespace replay::internet::http
