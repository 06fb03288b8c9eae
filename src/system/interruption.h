#pragma once

#include "system/uniquefd.h"

#include <QObject>
#include <QSocketNotifier>

#include <memory>

/// Turns SIGINT, SIGTERM and SIGHUP into a Qt signal, so that a program that is asked to end can do
/// so in order. One at a time; lives on the main thread, made after the application, whose platform
/// may handle these signals in ways of its own. A second signal kills as usual.
class Interruption : public QObject
{
    Q_OBJECT

public:
    Interruption();

signals:
    void requested();

private:
    UniqueFd m_event;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
