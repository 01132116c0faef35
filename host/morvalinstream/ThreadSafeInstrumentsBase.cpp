#include <morvalinstream/ThreadSafeInstrumentsBase.h>

namespace Morvalin {

ThreadSafeInstrumentsBase::~ThreadSafeInstrumentsBase() = default;

} // namespace Morvalin
