#pragma once

#include <memory>
#include <string>

#include "platform/store.h"
#include "platform/store_connection.h"

namespace replay::platform {

// Opens, checks and where need be makes the file of a store, as platform/store.h describes it.
// Processes do so one after the other. Throws store_error.
std::unique_ptr<store_connection> open_store(const std::string& file, const store_options& options);

}  // namespace replay::platform
