#include "simulator/Line.h"
#include "simulator/Simulator.h"

namespace ndisim {

std::unique_ptr<Line> makePtyLine(boost::asio::io_context&, LineListener&,
                                  const std::filesystem::path& link) {
    throw StartError("cannot make the pseudo-terminal " + link.string() + ": this system has none");
}

} // namespace ndisim
