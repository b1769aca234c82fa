#include "cli/class_list.h"

#include <brindlemoss/component.h>

#include "cli/json_writer.h"
#include "component/description.h"

namespace brindlemoss::cli {

namespace {

constexpr const char* threading = "Both";

void write(const component::method_description& method, json_writer& json) {
    json.begin_object().key("name").utf8(method.name).key("arguments").begin_array();
    for (const component::parameter& each : method.parameters) {
        json.begin_object().key("name").utf8(each.name);
        json.key("direction").utf8(component::name_of(each.way));
        json.key("type").utf8(component::name_of(each.type)).end_object();
    }
    json.end_array().end_object();
}

std::string as_json(const component::class_description& each) {
    json_writer json;
    json.begin_object().key("prog_id").utf8(each.prog_id).key("class").utf8(each.name);
    json.key("friendly_name").utf8(each.friendly_name).key("class_id").utf8(each.class_id);
    json.key("threading").utf8(threading);
    json.key("shared_between_threads").boolean(each.shared_between_threads);
    json.key("safe_for_scripting").boolean(each.safe_for_scripting);
    json.key("interface").utf8(each.interface_name).key("interface_id").utf8(each.interface_id);
    json.key("methods").begin_array();
    for (const component::method_description& method : each.methods) write(method, json);
    return json.end_array().end_object().line() + "\n";
}

std::string as_text(const component::class_description& each) {
    std::string text = std::string(each.prog_id) + "  " + each.class_id + "  " + each.name + ", " +
                       each.friendly_name + ", threading " + threading;
    if (!each.shared_between_threads) text += ", an object for one thread at a time";
    if (each.safe_for_scripting) text += ", safe for scripting";
    text.append("\n  ").append(each.interface_name).append("  ").append(each.interface_id) += '\n';
    for (const component::method_description& method : each.methods) {
        text += "    " + component::signature(method) + "\n";
    }
    return text;
}

std::string of_each(std::string (*describe)(const component::class_description&)) {
    std::string all;
    for (const component::class_description& each : component::classes()) all += describe(each);
    return all;
}

}  // namespace

std::string class_list() {
    return of_each(as_text);
}

std::string class_list_json() {
    return of_each(as_json);
}

}  // namespace brindlemoss::cli
