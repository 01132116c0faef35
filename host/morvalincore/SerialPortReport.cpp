#include <morvalincore/SerialPortReport.h>

namespace Morvalin {

SerialPortReport::~SerialPortReport() = default;

} // namespace Morvalin
