#pragma once

#include <filesystem>

namespace ndisim {

/// Removes the link of a simulator that was killed: a symbolic link to a pseudo-terminal that is
/// gone, or whose other end nobody holds. Leaves everything else where it is.
void removeStaleLink(const std::filesystem::path& link);

} // namespace ndisim
