// Answers that come late, in pieces, in part, spoiled, of the wrong kind or not at all: no command
// may return another's, and the link must come back into step.
//
// Input: what the device decides, a byte or two at a time.

#include "fuzz/Input.h"
#include "tests/protocol/LateSession.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    fuzz::Input input(bytes, size);
    LateSession session([&input](unsigned bound) {
        const unsigned high = bound > 256 ? input.byte() : 0U;
        return (high * 256U + input.byte()) % bound;
    });
    const std::string fault = session.run();
    fuzz::expect(fault.empty(), fault.c_str());
    return 0;
}
