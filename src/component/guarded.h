#pragma once

#include <brindlemoss/component.h>

#include <exception>
#include <string>
#include <string_view>

#include "component/library_life.h"
#include "foundation/module.h"
#include "message/character_set.h"

// What the methods of the classes share.
namespace brindlemoss::component {

// The body of a method, whose result is to be the neutral one before: whatever goes wrong in it is
// told in the log, as "NAME: what it was", and the result stays as the body left it.
template <typename body_type>
status guarded(replay::log& log, std::string_view method, body_type&& body) noexcept try {
    const running_call call;
    try {
        body();
    } catch (const std::exception& error) {
        log.write(3, std::string(method).append(": ").append(error.what()));
    } catch (...) {
        log.write(3, std::string(method).append(": unknown failure"));
    }
    return success;
} catch (...) {  // then there is nobody left to tell
    return success;
}

template <typename body_type>
status guarded(subsystem where, std::string_view method, body_type&& body) noexcept {
    return guarded(module::instance().log_of(where), method, static_cast<body_type&&>(body));
}

// For the classes without a log of their own.
inline replay::log& main_log() {
    return module::instance().main_log();
}

constexpr truth as_truth(bool is) {
    return is ? yes : no;
}

// Bytes that cross one a unit. A unit above 255 throws replay::unicode::unmappable_character.
inline std::string bytes_of(std::u16string_view text) {
    return replay::unicode::from_wide(text, replay::unicode::byte_for_byte);
}

inline std::u16string wide_bytes(std::string_view bytes) {
    return replay::unicode::to_wide(bytes, replay::unicode::byte_for_byte);
}

// What is no UTF-8 becomes U+FFFD, either way.
inline std::string utf8_of(std::u16string_view text) {
    return replay::unicode::from_wide(text, replay::unicode::utf8);
}

inline std::u16string wide_utf8(std::string_view bytes) {
    return replay::unicode::to_wide(bytes, replay::unicode::utf8);
}

}  // namespace brindlemoss::component
