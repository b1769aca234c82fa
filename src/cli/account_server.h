#pragma once

#include <string>

// What the stores say of the account's server before anybody asks it.
namespace brindlemoss::cli {

// Whether a login can come to a document at all: there is a server, or a kept document that is
// still good. Throws what the registry throws.
bool may_have_document();

// "no account server is named: ...", with what names one.
std::string no_server_named();
std::string how_to_name_a_server();

}  // namespace brindlemoss::cli
