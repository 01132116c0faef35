#include "plugin/Resources.h"

#include <QResource>
#include <QtGlobal>

// Must stand outside every namespace: the macro declares a function of the resource compiler.
static void registerCompiledResources() {
    Q_INIT_RESOURCE(ndi_tools);
}

namespace Morvalin {

void initializeResources() {
    registerCompiledResources();
}

} // namespace Morvalin
