#pragma once

class QAction;

namespace Morvalin::App {

class MainWindow;

/// Fills the window's menu bar: what can be done with workspaces, streams and the view, and an
/// entry for each algorithm where its menu path says: "IO;NDI Tracking;Aurora" becomes the entry
/// "Aurora" in the menu "NDI Tracking" in the menu "IO". Returns the action that removes a stream.
QAction* addMenus(MainWindow& window);

} // namespace Morvalin::App
