// Writes pictures of the window, used with the real plug-in and simulated devices, into a folder:
// idle, opening, streaming, missing (one tool out of sight), error, dialog. The display must be
// one that nobody else uses.
//
//     window_pictures FOLDER TOOL-FILE...

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <QApplication>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <morvalinlib/Workspace.h>

#include "simulator/Simulator.h"
#include "window/Look.h"
#include "window/MainWindow.h"
#include "window/StatusStrip.h"
#include "window/VolumeView.h"

using namespace Morvalin;
using namespace Morvalin::App;

namespace {

constexpr const char* vegaId = "NDITracking.PolarisVegaTrackingStream";

/// Ends the program if what a picture is to show does not come about.
template <class Condition>
void require(const QString& what, const Condition& condition) {
    if (QTest::qWaitFor(condition, 60'000))
        return;
    std::fprintf(stderr, "not seen: %s\n", qPrintable(what));
    std::exit(1);
}

/// A dialog gets a line around it: no window manager does that here.
void save(const QString& file) {
    QTest::qWait(300); // for what is drawn at the display's pace
    QPixmap picture = QGuiApplication::primaryScreen()->grabWindow(0);
    if (const QWidget* const dialog = QApplication::activeModalWidget()) {
        QPainter painter(&picture);
        painter.setPen(QPen(Qt::lightGray, 2));
        painter.drawRect(dialog->frameGeometry());
    }
    require(file, [&] { return picture.save(file); });
    std::printf("%s\n", qPrintable(file));
}

/// A window that fills the display, with a stream of its own.
class Scene {
public:
    explicit Scene(const PluginLoader& plugins) : window(plugins) {
        window.setGeometry(QGuiApplication::primaryScreen()->geometry());
        window.show();
    }
    ~Scene() {
        window.closeWithoutAsking();
        require("the window's end", [this] { return !window.isVisible(); });
    }

    /// Opens a workspace with one stream.
    void open(const char* name, const std::string& algorithm, const char* device, int port,
              const QStringList& toolFiles) {
        Properties root(Workspace::rootName);
        Properties& block =
            root.addSubProperties(Workspace::algorithmsName).addSubProperties(algorithm);
        block.setParam("hardwareDevice", device);
        block.setParam("hardwarePort", port);
        Properties& tools = block.addSubProperties("TrackingTargets");
        for (const QString& file : toolFiles) {
            const std::filesystem::path path = file.toStdString();
            Properties& tool = tools.addSubProperties(path.filename().string());
            tool.setParam("Path", path.string());
            tool.setParam("Port", 1);
        }
        const QString file = folder.filePath(QString::fromUtf8(name));
        std::string error;
        const bool isOpen = Workspace::save(file.toStdString(), root, error) &&
                            window.workspaces().openFirst(file, {}, error);
        require(QString::fromStdString(error), [=] { return isOpen; });
    }

    void press(const char* text) {
        QPushButton* found = nullptr;
        require(text, [&] {
            for (QPushButton* const button : window.findChildren<QPushButton*>())
                if (button->isVisible() && button->isEnabled() && button->text() == text)
                    found = button;
            return found != nullptr;
        });
        QTest::mouseClick(found, Qt::LeftButton);
    }

    void waitForStatus(const char* text) {
        require(text, [&] { return window.strip()->status().contains(QString::fromUtf8(text)); });
    }

    MainWindow window;
    QTemporaryDir folder;
};

class Photographer {
public:
    Photographer(QString pictures, QStringList toolFiles) :
        folder(std::move(pictures)), tools(std::move(toolFiles)) {
        std::string error;
        const bool isLoaded = plugins.load(NDI_PLUGIN, error);
        require(QString::fromStdString(error), [=] { return isLoaded; });
    }

    void idle() { save(Scene(plugins), "idle"); }

    /// The slow device answers after so many milliseconds.
    void opening() {
        vega("late=9000@INIT", [this](Scene& scene, ndisim::Simulator&) {
            scene.waitForStatus("Opening … 4 s");
            save(scene, "opening");
        });
    }

    void tracking() {
        vega("late=300@INIT", [this](Scene& scene, ndisim::Simulator& simulator) {
            scene.press("Start");
            scene.waitForStatus("frames/s");
            QTest::qWait(5000); // so that the trails have their length
            scene.window.volume()->lookAtInstruments();
            save(scene, "streaming");
            simulator.withDevice([](ndisim::Device& device) {
                device.setToolStates({ndisim::parseToolState("3:missing")});
            });
            QTest::qWait(1500);
            save(scene, "missing");
        });
    }

    void failing() {
        Scene scene(plugins);
        constexpr int unused = 1; // nobody listens there
        scene.open("Theatre 2.xml", vegaId, "127.0.0.1", unused, tools);
        scene.press("Open Connection");
        scene.waitForStatus("failed");
        save(scene, "error");
    }

    void dialog() {
        Scene scene(plugins);
        scene.open("Lab.xml", "NDITracking.AuroraTrackingStream", "COM3", 0, {});
        QTimer::singleShot(500, &scene.window, [&] {
            save(scene, "dialog");
            QApplication::activeModalWidget()->close();
        });
        scene.press("Add Tracker ...");
    }

private:
    template <class Steps>
    void vega(const char* fault, const Steps& steps) {
        ndisim::SimulatorOptions options;
        options.device.family = ndisim::Family::Vega;
        options.device.strays = 12;
        ndisim::Simulator simulator(options);
        simulator.addFault(fault);
        simulator.start();
        Scene scene(plugins);
        scene.open("Theatre 2.xml", vegaId, "127.0.0.1", simulator.port(), tools);
        scene.press("Open Connection");
        steps(scene, simulator);
    }

    void save(const Scene&, const char* name) const { // of a scene that is on the display
        ::save(folder + QLatin1Char('/') + QLatin1String(name) + QStringLiteral(".png"));
    }

    PluginLoader plugins;
    const QString folder;
    const QStringList tools;
};

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    Look::apply(application);
    const QStringList arguments = QApplication::arguments();
    Photographer photographer(arguments.value(1, QStringLiteral(".")), arguments.mid(2));
    photographer.idle();
    photographer.opening();
    photographer.tracking();
    photographer.failing();
    photographer.dialog();
}
