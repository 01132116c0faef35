#include <clocale>
#include <cstdlib>

#include <QApplication>
#include <QMetaObject>

#include <morvalincore/LogText.h>

#include "app/Commands.h"
#include "app/Console.h"
#include "app/OutputFiles.h"
#include "session/Refusal.h"
#include "session/StopNotice.h"
#include "window/Look.h"
#include "window/MainWindow.h"

namespace Morvalin::App {

namespace {

/// Qt ends the program with a signal when there is no display, after it has said why in warnings;
/// here that is a refusal like others.
void whileQtStarts(QtMsgType type, const QMessageLogContext&, const QString& message) {
    static std::string reason;
    if (reason.empty())
        reason = message.toStdString();
    if (type != QtFatalMsg)
        return;
    printError("the window cannot be shown: " + reason);
    std::_Exit(FileRefused);
}

void passToLog(QtMsgType type, const QMessageLogContext&, const QString& message) {
    const bool isTrouble = type == QtWarningMsg || type == QtCriticalMsg || type == QtFatalMsg;
    const int level = isTrouble ? Log::Warning : Log::Detail;
    logText(level, "Qt", message.toStdString());
}

void openWorkspace(MainWindow& window, const Options& options) {
    std::string error;
    if (!options.subject.empty() &&
        !window.workspaces().openFirst(QString::fromStdString(options.subject), options, error))
        throw Refusal(FileRefused, "workspace " + error);
}

int showWindow(QApplication& application, const PluginLoader& plugins, const Options& options) {
    MainWindow window(plugins);
    const auto closeWindow = [&window] {
        logText(Log::Information, "Host", stopNotice(window.bench().sessions()));
        window.closeWithoutAsking();
    };
    const StopRequest stop(
        [&] { QMetaObject::invokeMethod(&window, closeWindow, Qt::QueuedConnection); });
    openWorkspace(window, options);
    window.workspaces().saveAtEnd(QString::fromStdString(options.saveFile));
    window.show();
    const int status = application.exec();
    return window.workspaces().hasFailedToSave() ? StreamFailed : status;
}

} // namespace

int runWindow(const Options& options) {
    if (options.subject.empty() && !(options.settings.empty() && options.tools.empty()))
        throw Refusal(WrongUsage, "--set and --tool are for the streams of a workspace; name one");
    checkOutputFiles(options);
    PluginLoader plugins;
    prepare(plugins, options);

    const QtMessageHandler former = qInstallMessageHandler(whileQtStarts);
    char name[] = "morvalin-host";
    char* arguments[] = {name, nullptr};
    int count = 1;
    QApplication application(count, arguments);
    qInstallMessageHandler(passToLog);
    // Qt takes the user's locale for everything, but devices and files keep to points in numbers.
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setApplicationDisplayName(QStringLiteral("Morvalin"));
    Look::apply(application);
    const int status = showWindow(application, plugins, options);
    qInstallMessageHandler(former);
    return status;
}

} // namespace Morvalin::App
