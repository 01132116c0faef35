#include "simulator/Trace.h"

#include "simulator/Simulator.h"
#include "simulator/Texts.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ndisim {

Trace::Trace(const std::filesystem::path& file) {
    if (file.empty()) {
        return;
    }
    m_file.open(file, std::ios::binary | std::ios::trunc);
    if (!m_file) {
        throw StartError("cannot write the trace " + file.string() + ": " + std::strerror(errno));
    }
}

void Trace::line(char direction, std::string_view bytes) {
    if (!m_file.is_open()) {
        return;
    }
    char time[32];
    std::snprintf(time, sizeof time, "%.6f", std::chrono::duration<double>(elapsed()).count());
    const bool isBinary = bytes.starts_with("\xC4\xA5");
    m_file << time << ' ' << direction << ' '
           << (isBinary ? "hex " + hexBytes(bytes) : escaped(bytes)) << '\n'
           << std::flush;
}

} // namespace ndisim
