#include "morvalinlib/platform/LibraryFile.h"

namespace Morvalin {

std::string libraryFileFault(const std::filesystem::path&) {
    return {};
}

} // namespace Morvalin
