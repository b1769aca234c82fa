// A message of any bytes is read, flattened, its texts and attachment names taken, written out and
// read again. Nothing may crash, hang or grow, and only the documented exceptions may come out.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/translate.h"
#include "message/character_set.h"
#include "message/header_value.h"
#include "message/part.h"
#include "support.h"

namespace {

using fuzz_support::require;
using replay::internet::message2::depth_limit;
using replay::internet::message2::part;
using replay::internet::message2::part_map;
namespace header_type = replay::internet::message2::header_type;

// Runs `work`; false where it ended in an exception that message data may cause.
template <typename work>
bool tolerated(work do_work) {
    try {
        do_work();
        return true;
    } catch (const replay::unicode::generic&) {
    } catch (const replay::coding::translate::invalid_codeword&) {
    } catch (const depth_limit&) {
    }
    return false;
}

std::size_t count_parts(const part& item) {
    std::size_t count = 1;
    for (const part& child : item.children) count += count_parts(child);
    return count;
}

void read_values(part& item) {
    header_type::unstructured_value_type subject;
    header_type::addresses_value_type addresses;
    for (const auto& each : item.headers) {
        tolerated([&] { subject.parse(each.value); });
        tolerated([&] { subject.unparse(); });
        tolerated([&] { addresses.parse(each.value); });
        tolerated([&] { addresses.unparse(); });
    }
    tolerated([&] { item.attachment(); });
    tolerated([&] { item.text(); });
}

void examine(part& message) {
    part_map parts;
    message.flatten(parts, false);
    require(parts.size() == count_parts(message));
    for (const auto& [level, entry] : parts) read_values(*entry.item);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tolerated([&] {
        part message(std::string_view(reinterpret_cast<const char*>(data), size));
        examine(message);
        std::string text;
        message.unparse([&](std::string_view line) { text.append(line).append("\r\n"); });
        part again(text);
        examine(again);
    });
    return 0;
}
