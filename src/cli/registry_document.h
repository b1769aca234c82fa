#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "cli/json_writer.h"
#include "foundation/registry.h"

// A key with all below it as one JSON object (RFC 8259):
//
//   {"key": "Rules\\Sender", "values": [{"name": "Mode", "type": "integer", "data": 1}, ...],
//    "keys": [{"key": "Allow", "values": [...], "keys": [...]}, ...]}
//
// The outermost "key" is a path below the program's own root, empty for that itself; the others are
// names in the key around them. registry_value.h tells how a value stands there.
namespace brindlemoss::cli {

// Writes the object of an open key, which stands in it as `name`. Throws registry2::generic.
void write_document(const replay::registry2::key& key, std::u16string_view name, json_writer& json);

// What cannot be taken for such an object; the text names the place.
class document_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class registry_document {
public:
    // Reads and checks all of it. "values" and "keys" may be missing. Throws document_error, for
    // objects that are nested more deeply than a store can be and texts of more than
    // most_document_bytes too.
    explicit registry_document(std::string_view json);
    ~registry_document();
    registry_document(const registry_document&) = delete;
    registry_document& operator=(const registry_document&) = delete;

    // Hands over each key by its path below the program's root, with "\" between the names, then
    // its values, then the keys below it.
    struct visitor {
        std::function<void(std::u16string_view path)> key;
        std::function<void(std::u16string_view name, const replay::platform::stored_value&)> value;
    };
    void visit(const visitor& take) const;

    // JSON in memory takes many times its size as text.
    static constexpr std::size_t most_document_bytes = std::size_t{128} << 20;

private:
    struct tree;
    std::unique_ptr<const tree> tree_;
};

}  // namespace brindlemoss::cli
