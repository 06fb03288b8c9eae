#include "corvanelogger.h"
#include "main/corvane.h"
#include "shell/keptlog.h"
#include "shell/launcherhandover.h"
#include "shell/panelclock.h"
#include "shell/stationlock.h"
#include "system/interruption.h"
#include "system/stationpaths.h"
#include "uibackend/uibackend.h"

#include <QDebug>
#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QThread>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <optional>

namespace {

bool enterInstallationDir()
{
    qDebug().noquote().nospace() << "Current working dir: " << QDir::currentPath();
    const bool success = QDir::setCurrent(stationpaths::kStation);
    qDebug().nospace() << "Setting working dir, success: " << success;
    qDebug().noquote().nospace() << "New working dir: " << QDir::currentPath();
    return success;
}

/// A station that nobody can see would still obey the stick, and take what is on it.
bool hasScreen()
{
    if (QGuiApplication::primaryScreen() != nullptr)
        return true;
    qCritical("No screen: the station does not start");
    return false;
}

bool isAlone(const StationLock& lock)
{
    if (lock.held())
        return true;
    qCritical().noquote() << "Another station works in" << QDir::currentPath();
    return false;
}

} // namespace

// Outside of any namespace: the macro declares the resource's own function.
static int showScreens(UIBackEnd& uibackend)
{
    Q_INIT_RESOURCE(screens);
    PanelClock panel_clock;
    QQmlApplicationEngine engine;
    engine.rootContext()->setContextProperty(QStringLiteral("uibackend"), &uibackend);
    engine.load(QUrl(QStringLiteral("qrc:/qml/main.qml")));
    panel_clock.pace(engine);
    return QGuiApplication::exec();
}

int main(int argc, char* argv[])
{
    LauncherHandover().run();
    // The log's reader may go away; the station must not go with it.
    std::signal(SIGPIPE, SIG_IGN);
    qInstallMessageHandler(corvaneLogger);
    QGuiApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    const QGuiApplication application(argc, argv);
    const bool at_home = enterInstallationDir();
    const StationLock lock;
    if (!hasScreen() || !isAlone(lock))
        return EXIT_FAILURE;
    std::optional<KeptLog> kept_log;
    if (at_home) // elsewhere a file of that name is somebody else's
        kept_log.emplace();

    UIBackEnd uibackend;
    auto* const controller = new Corvane(uibackend);
    std::atomic<bool> workers_abandoned{false};
    QThread controller_thread;
    controller->moveToThread(&controller_thread);
    QObject::connect(&controller_thread, &QThread::finished, controller, &QObject::deleteLater);
    QObject::connect(&controller_thread, &QThread::started, controller, &Corvane::taskLoop);
    QObject::connect(
        controller, &Corvane::workersAbandoned, controller, [&] { workers_abandoned = true; },
        Qt::DirectConnection);
    controller_thread.start();
    const Interruption interruption;
    QObject::connect(&interruption, &Interruption::requested, &application,
                     &QCoreApplication::quit);

    const int exit_code = showScreens(uibackend);

    controller_thread.requestInterruption();
    controller_thread.quit();
    // No limit here: an addition or a copy under way is brought to its end.
    controller_thread.wait();
    // A worker still sits in a transfer: what it uses must not be torn down under it.
    if (workers_abandoned)
        std::_Exit(exit_code);
    return exit_code;
}
