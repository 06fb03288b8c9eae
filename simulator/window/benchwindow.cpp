#include "window/benchwindow.h"

#include "common/badinput.h"
#include "window/screenitem.h"

#include <QGuiApplication>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlError>
#include <QScreen>

/// A static library's resources are loaded by hand, outside of any namespace.
static void loadWindow()
{
    Q_INIT_RESOURCE(window);
}

namespace {
constexpr QSize kSize(1280, 800);
} // namespace

bool BenchWindow::View::event(QEvent* event)
{
    if (event->type() == QEvent::Close && closed) {
        closed(); // the window goes when the station has ended
        event->ignore();
        return true;
    }
    return QQuickView::event(event);
}

BenchWindow::BenchWindow()
{
    loadWindow();
    qmlRegisterType<ScreenItem>("Corvane", 1, 0, "ScreenItem");
    m_view.setTitle(QStringLiteral("Corvane bench"));
    m_view.setResizeMode(QQuickView::SizeRootObjectToView);
    const QSize room = QGuiApplication::primaryScreen()->availableSize();
    m_view.resize(kSize.boundedTo(room));
}

void BenchWindow::show(Bench& bench, const ScenarioRunner& runner, const Scenario& scenario,
                       const PodPlan& usual)
{
    const QString name = scenario.steps.empty()
                             ? QStringLiteral("No scenario: what happens is up to you")
                             : scenario.name;
    m_panel = std::make_unique<BenchPanel>(bench, runner, name, usual);
    m_view.closed = [this] { m_panel->end(); };
    bench.setCamera([this] {
        m_panel->refresh();
        return m_view.grabWindow();
    });
    m_view.rootContext()->setContextProperty(QStringLiteral("bench"), m_panel.get());
    m_view.setSource(QUrl(QStringLiteral("qrc:/window/qml/Bench.qml")));
    if (m_view.status() != QQuickView::Ready)
        throw BadInput(QStringLiteral("the window: %1").arg(m_view.errors().value(0).toString()));
    m_view.show();
    m_view.requestActivate();
}

QString BenchWindow::leave()
{
    QString chosen = m_panel->chosenScenario();
    m_view.setSource(QUrl());
    m_view.rootContext()->setContextProperty(QStringLiteral("bench"), nullptr);
    m_view.closed = nullptr;
    m_panel.reset();
    return chosen;
}
