#pragma once

#include <string>

#include "session/StreamSession.h"

namespace Morvalin::App {

/// One line for somebody who has asked for the end: which streams it waits for, what they are
/// doing, and how long that may take.
std::string stopNotice(const Sessions& sessions);

} // namespace Morvalin::App
