#pragma once

#include <vector>

namespace ndisim {

/// The signals that ask the program to end.
std::vector<int> endSignals();

} // namespace ndisim
