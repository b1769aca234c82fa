#pragma once

#include <memory>

#include "component/class_row.h"

// What makes an object of each class; the row is that of the class. They throw std::bad_alloc.
namespace brindlemoss::component {

std::unique_ptr<object> make_account(const class_row& row);
std::unique_ptr<object> make_antivirus(const class_row& row);
std::unique_ptr<object> make_coding(const class_row& row);
std::unique_ptr<object> make_communication(const class_row& row);
std::unique_ptr<object> make_digest(const class_row& row);
std::unique_ptr<object> make_filter(const class_row& row);
std::unique_ptr<object> make_footer(const class_row& row);
std::unique_ptr<object> make_http(const class_row& row);
std::unique_ptr<object> make_language_recognition(const class_row& row);
std::unique_ptr<object> make_localization(const class_row& row);
std::unique_ptr<object> make_rules(const class_row& row);
std::unique_ptr<object> make_rules_sender_allowed(const class_row& row);
std::unique_ptr<object> make_rules_sender_denied(const class_row& row);
std::unique_ptr<object> make_rules_sender_trusted(const class_row& row);
std::unique_ptr<object> make_version(const class_row& row);
std::unique_ptr<object> make_xml(const class_row& row);

}  // namespace brindlemoss::component
