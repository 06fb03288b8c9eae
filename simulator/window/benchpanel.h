#pragma once

#include "bench/scenariorunner.h"
#include "window/placemodel.h"

#include <QImage>
#include <QObject>
#include <QTimer>
#include <QVariantList>

/// The bench as the window's QML sees it: what stands where, and what can be done. Lives on the
/// main thread, owned by the window; bench and runner must outlive it. What cannot be done is said
/// in `message`.
class BenchPanel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QObject* places READ places CONSTANT)
    Q_PROPERTY(QStringList podFaults READ podFaults CONSTANT)
    Q_PROPERTY(QStringList bootloaderFaults READ bootloaderFaults CONSTANT)
    Q_PROPERTY(QVariantList scenarios READ scenarios CONSTANT)
    Q_PROPERTY(QString scenario READ scenario CONSTANT)
    Q_PROPERTY(QImage picture READ picture NOTIFY pictureChanged)
    Q_PROPERTY(QString panelText READ panelText NOTIFY pictureChanged)
    Q_PROPERTY(QString progress MEMBER m_progress NOTIFY progressChanged)
    Q_PROPERTY(QString power MEMBER m_power NOTIFY powerChanged)
    Q_PROPERTY(bool stickIn MEMBER m_stick_in NOTIFY stickChanged)
    Q_PROPERTY(QStringList stickFiles MEMBER m_stick_files NOTIFY stickChanged)
    Q_PROPERTY(QStringList logLines MEMBER m_log_lines NOTIFY logChanged)
    Q_PROPERTY(QString message MEMBER m_message NOTIFY messageChanged)

public:
    /// usual: a pod of which nothing else is said.
    BenchPanel(Bench& bench, const ScenarioRunner& runner, QString scenario, PodPlan usual);

    QObject* places() { return &m_places; }
    static QStringList podFaults();
    static QStringList bootloaderFaults();
    static QVariantList scenarios();
    QString scenario() const { return m_scenario; }
    QImage picture() const { return m_bench.picture(); }
    QString panelText() const;

    Q_INVOKABLE void plugOrPull(int slot);
    /// What the next pod of that place is like, which is plugged in at once if the place is free.
    /// size as it is typed at the prompt; bytes_per_second 0: no limit.
    Q_INVOKABLE void plugAs(int slot, const QString& size, int bytes_per_second,
                            const QString& fault);
    Q_INVOKABLE void plugAll();
    Q_INVOKABLE void pullAll();
    Q_INVOKABLE void setStick(bool inserted);
    Q_INVOKABLE void putOnStick(const QString& file);
    /// One of the station's commands, an empty file of that name.
    Q_INVOKABLE void putCommandOnStick(const QString& name);
    Q_INVOKABLE void cutPower();
    Q_INVOKABLE void stopStation();
    Q_INVOKABLE void startStation();
    Q_INVOKABLE void touch(int x, int y);
    Q_INVOKABLE void end();
    /// Ends this station and begins anew with that scenario.
    Q_INVOKABLE void play(const QString& file);
    QString chosenScenario() const { return m_chosen; }

    /// Shows at once how things stand.
    void refresh();

signals:
    void pictureChanged();
    void progressChanged();
    void powerChanged();
    void stickChanged();
    void logChanged();
    void messageChanged();

private:
    void look();
    void perform(const Verb& verb);
    void attempt(const std::function<QString()>& work);
    void say(const QString& message);
    QString powerText() const;

    Bench& m_bench;
    const ScenarioRunner& m_runner;
    QString m_scenario;
    PodPlan m_usual;
    PlaceModel m_places;
    QTimer m_refresh;
    qint64 m_picture_key = 0;
    QString m_progress;
    QString m_power;
    bool m_stick_in = false;
    QStringList m_stick_files;
    QStringList m_log_lines;
    QString m_message;
    QString m_chosen;
};
