#pragma once

#include <functional>
#include <string>
#include <vector>

#include <morvalinlib/AlgorithmFactory.h>

class QMenu;
class QMenuBar;

namespace Morvalin::App {

/// Adds an entry for each algorithm where its menu path says: "IO;NDI Tracking;Aurora" becomes the
/// entry "Aurora" in the menu "NDI Tracking" in the menu "IO". Menus that exist are used. New ones
/// of the bar are put before `before`. `choose` is called with the id.
void addAlgorithmMenus(QMenuBar& bar, QMenu* before,
                       const std::vector<AlgorithmFactory::Descriptor>& algorithms,
                       const std::function<void(const std::string& id)>& choose);

} // namespace Morvalin::App
