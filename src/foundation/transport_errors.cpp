#include <utility>

#include "foundation/transport.h"

namespace replay::internet::transport {

generic::generic(std::string message) : exception(std::move(message)) {
    append_domain("internet.transport");
}

not_a_socket::not_a_socket(std::string message) : generic(std::move(message)) {
    append_domain("not_a_socket");
}

address_in_use::address_in_use(std::string message) : generic(std::move(message)) {
    append_domain("address_in_use");
}

address_not_valid::address_not_valid(std::string message) : generic(std::move(message)) {
    append_domain("address_not_valid");
}

namespace udp {

raw::operation_failed::operation_failed(std::string message) : generic(std::move(message)) {
    append_domain("operation_failed");
}

raw::message_truncated::message_truncated(std::string message) : generic(std::move(message)) {
    append_domain("message_truncated");
}

raw::operation_timed_out::operation_timed_out(std::string message) : generic(std::move(message)) {
    append_domain("operation_timed_out");
}

raw::network_unreachable::network_unreachable(std::string message) : generic(std::move(message)) {
    append_domain("network_unreachable");
}

raw::host_unreachable::host_unreachable(std::string message) : generic(std::move(message)) {
    append_domain("host_unreachable");
}

raw::port_unreachable::port_unreachable(std::string message) : generic(std::move(message)) {
    append_domain("port_unreachable");
}

}  // namespace udp

namespace tcp {

base::connection_failed::connection_failed(std::string message) : generic(std::move(message)) {
    append_domain("connection_failed");
}

base::connection_closed::connection_closed(std::string message) : generic(std::move(message)) {
    append_domain("connection_closed");
}

base::connection_refused::connection_refused(std::string message) : generic(std::move(message)) {
    append_domain("connection_refused");
}

base::connection_reset::connection_reset(std::string message) : generic(std::move(message)) {
    append_domain("connection_reset");
}

base::connection_timed_out::connection_timed_out(std::string message)
    : generic(std::move(message)) {
    append_domain("connection_timed_out");
}

base::network_unreachable::network_unreachable(std::string message) : generic(std::move(message)) {
    append_domain("network_unreachable");
}

base::host_unreachable::host_unreachable(std::string message) : generic(std::move(message)) {
    append_domain("host_unreachable");
}

}  // namespace tcp

}  // namespace replay::internet::transport
