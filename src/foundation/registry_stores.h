#pragma once

#include <memory>

#include "foundation/registry_tree.h"
#include "platform/store.h"

namespace replay::registry2 {

// The open store of a tree, opened on first use. For registry.cpp. Throws platform::store_error,
// and platform::paths::path_error.
std::shared_ptr<platform::store> open_tree(predefined_root root);
void close_trees();

}  // namespace replay::registry2
