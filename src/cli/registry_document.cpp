#include "cli/registry_document.h"

#include <algorithm>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/registry_value.h"

namespace brindlemoss::cli {

namespace registry = replay::registry2;
using nlohmann::json;
using replay::platform::stored_value;

struct registry_document::tree {
    json root;
};

namespace {

// What a store takes (platform/store.h).
constexpr std::size_t most_key_depth = 512;
constexpr std::size_t most_key_name_units = 255;
constexpr std::size_t most_value_name_units = 16'383;

constexpr std::size_t root_depth = 2;  // of the program's root in its tree

// A key is an object in an array, and a list two levels more than that.
constexpr int most_nesting = 2 * static_cast<int>(most_key_depth) + 2;

std::string place_of_byte(std::string_view text, std::size_t byte) {
    const std::string_view before = text.substr(0, std::min(byte == 0 ? 0 : byte - 1, text.size()));
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const std::size_t line_begin = before.rfind('\n') + 1;
    return "line " + std::to_string(line) + ", column " +
           std::to_string(before.size() - line_begin + 1);
}

json parsed(std::string_view text) {
    if (text.size() > registry_document::most_document_bytes) throw document_error("too large");
    const auto limit_depth = [](int depth, json::parse_event_t, const json&) {
        if (depth > most_nesting) throw document_error("nested too deeply");
        return true;
    };
    try {
        return json::parse(text.begin(), text.end(), limit_depth);
    } catch (const json::parse_error& error) {
        throw document_error(place_of_byte(text, error.byte) + ": this is no JSON");
    } catch (const json::exception&) {
        throw document_error("a number that is too large");
    }
}

// Goes through a document and checks what it passes. Keys are nested no deeper than parsed() lets
// them be.
class walk {
public:
    explicit walk(const registry_document::visitor& take) : take_(take) {}

    void top(const json& object) {
        check_fields(object, {"key", "values", "keys"});
        const std::u16string path = text_field(object, "key");
        for (std::size_t begin = 0; begin <= path.size();) {
            const std::size_t end = std::min(path.find(u'\\', begin), path.size());
            if (end > begin) enter(path.substr(begin, end - begin));
            begin = end + 1;
        }
        contents(object);
    }

private:
    // While it lives the place is a step deeper.
    class step {
    public:
        step(std::string& place, const std::string& name) : place_(place), size_(place.size()) {
            if (!place.empty()) place += '.';
            place += name;
        }
        step(std::string& place, std::size_t index) : place_(place), size_(place.size()) {
            place.append("[").append(std::to_string(index)).append("]");
        }
        ~step() { place_.resize(size_); }
        step(const step&) = delete;
        step& operator=(const step&) = delete;

    private:
        std::string& place_;
        std::size_t size_;
    };

    [[noreturn]] void refuse(const std::string& why) const {
        throw document_error((place_.empty() ? "the whole" : place_) + ": " + why);
    }

    void contents(const json& object) {
        take_.key(path_);
        each_in(object, "values", [&](const json& value) { one_value(value); });
        each_in(object, "keys", [&](const json& key) { subkey(key); });
    }

    void subkey(const json& object) {
        check_fields(object, {"key", "values", "keys"});
        const std::size_t size = path_.size();
        enter(text_field(object, "key"));
        contents(object);
        path_.resize(size);
        --depth_;
    }

    void enter(const std::u16string& name) {
        const step in_key(place_, "key");
        if (name.empty()) refuse("a key needs a name");
        if (name.size() > most_key_name_units) refuse("a name that is too long");
        if (name.find_first_of(std::u16string_view(u"\\\0", 2)) != name.npos) {
            refuse("a name with a backslash or a NUL");
        }
        if (++depth_ > most_key_depth) refuse("too many keys on the way");
        if (!path_.empty()) path_ += u'\\';
        path_ += name;
    }

    void one_value(const json& object) {
        check_fields(object, {"name", "type", "data", "raw"});
        const std::u16string name = text_field(object, "name");
        if (name.size() > most_value_name_units) refuse("a name that is too long");
        if (name.find(u'\0') != name.npos) refuse("a name with a NUL");
        take_.value(name, typed_value(object));
    }

    stored_value typed_value(const json& object) {
        const json& type_field = field(object, "type");
        const std::string* const type_text = type_field.get_ptr<const std::string*>();
        const std::optional<std::int32_t> type =
            type_text == nullptr ? std::nullopt : type_named(*type_text);
        const step in_field(place_, type ? data_field(object) : "type");
        if (!type) refuse("there is no such type");
        try {
            return encode(*type, data_of(object, *type));
        } catch (const unfit_data& error) {
            refuse(error.what());
        }
    }

    const char* data_field(const json& object) const {
        if (object.contains("raw") && object.contains("data")) refuse("both \"data\" and \"raw\"");
        return object.contains("raw") ? "raw" : "data";
    }

    value_data data_of(const json& object, std::int32_t type) {
        const bool is_raw = object.contains("raw");
        const json& data = field(object, is_raw ? "raw" : "data");
        if (data.is_number_unsigned()) return data.get<std::uint64_t>();
        if (data.is_array()) return lines_of(data);
        if (!data.is_string()) refuse("neither a text, nor a list of texts, nor a whole number");
        const std::string& text = data.get_ref<const std::string&>();
        if (is_raw || !wants_text(type)) return plain_bytes{bytes_of_hex(text)};
        return wide_argument(text);
    }

    // A text in the place of a number or list is for encode() to refuse.
    static bool wants_text(std::int32_t type) {
        namespace value_type = replay::platform::value_type;
        return type == value_type::text || type == value_type::expandable_text ||
               type == value_type::integer || type == value_type::integer64 ||
               type == value_type::multi_text;
    }

    registry::text_list lines_of(const json& array) {
        registry::text_list lines;
        for (const json& line : array) {
            if (!line.is_string()) refuse("a list wants lines of text");
            lines.push_back(wide_argument(line.get_ref<const std::string&>()));
        }
        return lines;
    }

    template <typename work>
    void each_in(const json& object, const char* name, work&& take) {
        const auto found = object.find(name);
        if (found == object.end()) return;
        const step in_array(place_, name);
        if (!found->is_array()) refuse("no array");
        for (std::size_t index = 0; index < found->size(); ++index) {
            const step in_element(place_, index);
            take((*found)[index]);
        }
    }

    void check_fields(const json& object, std::initializer_list<std::string_view> known) const {
        if (!object.is_object()) refuse("no object");
        for (const auto& [name, value] : object.items()) {
            if (std::find(known.begin(), known.end(), name) == known.end()) {
                refuse("a field that has no place there, beside those that have: " +
                       name.substr(0, 40));
            }
        }
    }

    const json& field(const json& object, const char* name) const {
        const auto found = object.find(name);
        if (found == object.end()) refuse(std::string("there is no \"") + name + "\"");
        return *found;
    }

    std::u16string text_field(const json& object, const char* name) const {
        const json& found = field(object, name);
        if (!found.is_string()) refuse(std::string("\"") + name + "\" is no text");
        return wide_argument(found.get_ref<const std::string&>());
    }

    const registry_document::visitor& take_;
    std::u16string path_;
    std::string place_;
    std::size_t depth_ = root_depth;
};

}  // namespace

// As deep as the keys of a store are, which is bounded.
void write_document(const registry::key& key, std::u16string_view name, json_writer& out) {
    out.begin_object().key("key").text(name);
    out.key("values").begin_array();
    for (const std::u16string& each : key.value_names()) {
        const std::optional<stored_value> value = key.get_raw(each);
        if (!value) continue;  // deleted meanwhile
        out.begin_object().key("name").text(each);
        write_value_fields(*value, out);
        out.end_object();
    }
    out.end_array().key("keys").begin_array();
    for (const std::u16string& each : key.key_names()) {
        write_document(registry::key(key, each, registry::when_missing::fail), each, out);
    }
    out.end_array().end_object();
}

registry_document::registry_document(std::string_view text)
    : tree_(std::make_unique<const tree>(tree{parsed(text)})) {
    visit({[](std::u16string_view) {}, [](std::u16string_view, const stored_value&) {}});
}

registry_document::~registry_document() = default;

void registry_document::visit(const visitor& take) const {
    walk(take).top(tree_->root);
}

}  // namespace brindlemoss::cli
