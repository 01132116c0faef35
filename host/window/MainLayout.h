#pragma once

#include <functional>
#include <string>
#include <vector>

#include <morvalinlib/AlgorithmFactory.h>

class QListView;
class QMainWindow;
class QSplitter;
class QStackedWidget;
class QWidget;

namespace Morvalin::App {

class ClosingPage;
class LogView;
class StatusStrip;
class StreamListModel;
class VolumeView;

/// The widgets of the main window and their places: streams to the left with the panel of the one
/// that is selected, its tracked volume to the right, the log below both.
struct MainLayout {
    /// Puts them into the window, which owns them. `add` is called with the id of an algorithm that
    /// was chosen on the start page.
    MainLayout(QMainWindow& window, StreamListModel& streams,
               const std::vector<AlgorithmFactory::Descriptor>& algorithms,
               const std::function<void(const std::string& id)>& add);

    QListView* const list;
    QStackedWidget* const panels; ///< the first one is empty
    QWidget* const leftSide;      ///< both of them
    StatusStrip* const strip;
    VolumeView* const volume;
    QStackedWidget* const views; ///< start page or volume
    LogView* const log;
    QSplitter* const workPage; ///< all that is above
    ClosingPage* const closingPage;
    QStackedWidget* const pages; ///< either of these two

private:
    void fillLeftSide(StreamListModel& streams);
    void fillViews(QWidget* startPage);
    void fillWorkPage();
};

} // namespace Morvalin::App
