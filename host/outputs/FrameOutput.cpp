#include "outputs/FrameOutput.h"

namespace Morvalin::App {

void FrameOutput::note(const std::string&, const StreamEvent&) {}

} // namespace Morvalin::App
