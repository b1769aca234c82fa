#include "foundation/exception.h"

#include <utility>

namespace replay {

exception::exception(std::string message) : message_(std::move(message)) {
    compose();
}

void exception::append_domain(std::string_view word) {
    if (!domain_.empty()) domain_ += '.';
    domain_ += word;
    compose();
}

void exception::compose() {
    text_.clear();
    text_.append(domain_).append("[").append(message_).append("]");
}

}  // namespace replay
