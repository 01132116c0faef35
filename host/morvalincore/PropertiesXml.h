#pragma once

#include <string>

#include <morvalincore/Export.h>
#include <morvalincore/Properties.h>

namespace Morvalin {

/// Properties as XML text. Names, keys and values stand in attributes of the elements, so that
/// every text survives: empty ones, blanks at the ends, quotes, backslashes, line ends. Characters
/// that XML cannot hold (control characters below 0x20 other than tab, CR and LF, and bytes that
/// are not UTF-8) are kept in an escaped form that only toXml and fromXml know.
///
/// Writing what was read gives the same text again.
MORVALINCORE_EXPORT std::string toXml(const Properties& properties);

/// Reads such a text into `out`. On failure returns false, leaves `out` as it was and sets `error`
/// to one line that names the fault and, where known, the line of the text. Accepts texts up to 16
/// MiB and 64 levels of blocks; refuses document type declarations.
MORVALINCORE_EXPORT bool fromXml(const std::string& text, Properties& out, std::string& error);

} // namespace Morvalin
