// Item states read relative to an open folder, for the folder listing: one path component to look
// up instead of the whole path.
#pragma once

#include "gs/platform/GSPlatformItem.h"

#include <string>

namespace gsposix {

// GSPlatformReadItemState for the entry `name` (a bare name, no divider) of the folder open as the
// descriptor `folder`.
short readItemStateAt(int folder, char const* name, GSPlatformItemState* state, std::string* error);

} // namespace gsposix
