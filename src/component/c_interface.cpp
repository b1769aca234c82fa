#include <brindlemoss.h>
#include <brindlemoss/component.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "component/class_row.h"
#include "component/rating.h"

namespace component = brindlemoss::component;
using component::argument;
using component::value;

namespace {

constexpr std::size_t most_values = component::bound_method::most_parameters;

static_assert(BRINDLEMOSS_SUCCESS == component::success);
static_assert(BRINDLEMOSS_NOT_IMPLEMENTED == component::not_implemented);
static_assert(BRINDLEMOSS_INVALID_CALL == component::invalid_call);

// Programs in other languages have this written down.
static_assert(offsetof(brindlemoss_value, type) == 0);
static_assert(offsetof(brindlemoss_value, number) == 4);
static_assert(offsetof(brindlemoss_value, text) == 8);
static_assert(offsetof(brindlemoss_value, length) == 8 + sizeof(void*));
static_assert(sizeof(brindlemoss_value) == 8 + 2 * sizeof(void*));

// What one call brought. The caller holds the first of `seen`, whose texts are those of `kept`.
struct call_results {
    std::array<brindlemoss_value, most_values> seen{};
    std::vector<value> kept;
};
static_assert(std::is_standard_layout_v<call_results>);  // so the first of `seen` leads back here

component::object* object_of(brindlemoss_object* handle) {
    return reinterpret_cast<component::object*>(handle);
}

// False for what is no value.
bool read(const brindlemoss_value& given, argument& taken) {
    switch (given.type) {
        case BRINDLEMOSS_ABSENT: taken = std::monostate(); return true;
        case BRINDLEMOSS_NUMBER: taken = given.number; return true;
        case BRINDLEMOSS_TRUTH: taken = given.number != 0; return true;
        case BRINDLEMOSS_TEXT:
            if (given.text == nullptr && given.length != 0) return false;
            taken = std::u16string_view(given.text, given.length);
            return true;
        default: return false;
    }
}

struct show {
    brindlemoss_value operator()(std::monostate) const { return {}; }
    brindlemoss_value operator()(const std::u16string& text) const {
        return {BRINDLEMOSS_TEXT, 0, text.data(), text.size()};
    }
    brindlemoss_value operator()(std::int32_t number) const {
        return {BRINDLEMOSS_NUMBER, number, nullptr, 0};
    }
    brindlemoss_value operator()(bool yes) const {
        return {BRINDLEMOSS_TRUTH, yes ? 1 : 0, nullptr, 0};
    }
};

// Null where nothing came.
brindlemoss_value* handed_over(std::vector<value> values) {
    if (values.empty()) return nullptr;
    auto made = std::make_unique<call_results>();
    made->kept = std::move(values);
    std::transform(made->kept.begin(), made->kept.end(), made->seen.begin(),
                   [](const value& each) { return std::visit(show(), each); });
    return made.release()->seen.data();
}

component::status invoke(component::object& object, std::string_view method,
                         std::span<const brindlemoss_value> given, std::vector<value>& came) {
    std::array<argument, most_values> taken;
    if (given.size() > taken.size()) return component::invalid_call;
    for (std::size_t index = 0; index < given.size(); ++index) {
        if (!read(given[index], taken[index])) return component::invalid_call;
    }
    return object.invoke(method, std::span(taken).first(given.size()), came);
}

}  // namespace

brindlemoss_status brindlemoss_score(const void* bytes, size_t length, bool orphan,
                                     int32_t* rating) {
    if (rating == nullptr) return BRINDLEMOSS_INVALID_CALL;
    *rating = 0;
    if (bytes == nullptr && length != 0) return BRINDLEMOSS_INVALID_CALL;
    *rating = component::rate({static_cast<const char*>(bytes), length}, orphan);
    return BRINDLEMOSS_SUCCESS;
}

const char* brindlemoss_class_name(size_t index) {
    const auto rows = component::class_rows();
    return index < rows.size() ? rows[index].description.prog_id : nullptr;
}

brindlemoss_status brindlemoss_create(const char* class_name, brindlemoss_object** object) try {
    if (object == nullptr) return BRINDLEMOSS_INVALID_CALL;
    *object = nullptr;
    if (class_name == nullptr) return BRINDLEMOSS_INVALID_CALL;
    *object = reinterpret_cast<brindlemoss_object*>(component::create_object(class_name).release());
    return BRINDLEMOSS_SUCCESS;
} catch (const std::exception&) {  // no such class, or no memory
    return BRINDLEMOSS_INVALID_CALL;
}

void brindlemoss_release(brindlemoss_object* object) {
    delete object_of(object);
}

brindlemoss_status brindlemoss_invoke(brindlemoss_object* object, const char* method,
                                      const brindlemoss_value* arguments, size_t argument_count,
                                      brindlemoss_value** results, size_t* result_count) try {
    if (results != nullptr) *results = nullptr;
    if (result_count != nullptr) *result_count = 0;
    if (object == nullptr || method == nullptr || (arguments == nullptr && argument_count != 0)) {
        return BRINDLEMOSS_INVALID_CALL;
    }
    std::vector<value> came;
    const auto outcome = invoke(*object_of(object), method, {arguments, argument_count}, came);
    const std::size_t count = came.size();
    if (results != nullptr) *results = handed_over(std::move(came));
    if (result_count != nullptr) *result_count = count;
    return outcome;
} catch (const std::exception&) {  // no memory for the results
    return BRINDLEMOSS_INVALID_CALL;
}

void brindlemoss_free_results(brindlemoss_value* results) {
    delete reinterpret_cast<call_results*>(results);
}

void brindlemoss_load(void) {
    component::load();
}

void brindlemoss_unload(void) {
    component::unload();
}

size_t brindlemoss_live_objects(void) {
    return component::live_objects();
}

bool brindlemoss_can_unload_now(void) {
    return component::can_unload_now();
}

const char* brindlemoss_version(void) {
    return BRINDLEMOSS_VERSION;
}
