#pragma once

#include <string>

#include <morvalinstream/StreamEvent.h>

namespace Morvalin::App {

/// The word for a kind in JSON.
const char* eventName(StreamEvent::Kind kind);

/// The kind that a word stands for. Throws std::runtime_error when it stands for none.
StreamEvent::Kind eventKind(const std::string& name);

} // namespace Morvalin::App
