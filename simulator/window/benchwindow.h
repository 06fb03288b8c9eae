#pragma once

#include "window/benchpanel.h"

#include <QQuickView>

#include <memory>

/// The window in which the bench is seen and used; one for all benches of a run, one after the
/// other. Lives on the main thread, owned by main; needs a QGuiApplication. Throws BadInput when it
/// cannot be drawn.
class BenchWindow
{
public:
    BenchWindow();

    /// Shows this bench until leave(); it and its runner must live until then. A screenshot is of
    /// the window from now on, and to close the window is to quit.
    void show(Bench& bench, const ScenarioRunner& runner, const Scenario& scenario,
              const PodPlan& usual);
    /// The file of the scenario that the person wants to see next; empty: none.
    QString leave();

    QQuickView& view() { return m_view; }

private:
    class View : public QQuickView
    {
    public:
        std::function<void()> closed;

    protected:
        bool event(QEvent* event) override;
    };

    std::unique_ptr<BenchPanel> m_panel; ///< outlives what shows it
    View m_view;
};
