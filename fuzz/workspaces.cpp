// Workspace files: loading, conversion of older ones, and what the streams make of their blocks.
// Input: the file.

#include "fuzz/MemoryFile.h"
#include "fuzz/StreamFamilies.h"
#include "plugin/LegacyConversion.h"

#include <morvalincore/Log.h>
#include <morvalincore/PropertiesXml.h>
#include <morvalinlib/Workspace.h>
#include <morvalinlib/WorkspaceConversionRegistry.h>

namespace {

using namespace Morvalin;
using fuzz::expect;

bool load(std::string_view text, Properties& root) {
    const fuzz::MemoryFile file(text);
    std::string error;
    const bool isLoaded = Workspace::load(file.path(), root, error);
    expect(isLoaded || (!error.empty() && error.find('\n') == std::string::npos),
           "a refusal is one line");
    return isLoaded;
}

void configure(const Properties& block) {
    for (unsigned family = 0; family < std::size(fuzz::streamIds); ++family) {
        if (block.name() != fuzz::streamIds[family])
            continue;
        const auto stream = fuzz::makeStream(family);
        stream->configure(&block);
        Properties written(block.name());
        stream->configuration(&written);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Log::setLevel(Log::Error + 1);
    WorkspaceConversionRegistry::instance().addConversion({"legacy", 1, convertLegacyStreams});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Properties root;
    if (!load({reinterpret_cast<const char*>(bytes), size}, root))
        return 0;
    for (const Properties& block : root.subProperties(Workspace::algorithmsName)->children())
        configure(block);
    Properties again;
    expect(load(toXml(root), again) && again == root, "what was saved is loaded again");
    return 0;
}
