// Security descriptors: bytes that are kept as they are. Who may do what is decided by the modes of the store's files.
#pragma once

#include "platform/registry/regimage.h"

#include <string_view>

// How long a self-relative descriptor is, found by the places and sizes in it.
//   rBytes  out: the descriptor; empty on failure.
// Error 1338: it is not self-relative, makes no sense, or is longer than 65,536 bytes.
LONG MeasureSecurity( const void* pDescriptor, std::string_view& rBytes ) noexcept;

// A key's descriptor, or the one of keys that were given none.
std::string_view SecurityOf( const RegKeyView& aKey ) noexcept;
