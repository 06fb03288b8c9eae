#pragma once

#include "system/uniquefd.h"

#include <QFileSystemWatcher>
#include <QObject>

#include <map>
#include <tuple>

/// Tells every udev monitor inside the testbed that a device came or went. umockdev's preload turns
/// each monitor into a datagram socket "event<N>" in the testbed; N is the monitor's descriptor
/// number, so a second process takes the name from a first one with the same number. Monitors are
/// therefore kept from the moment they show up, by connection and not by name. umockdev's own
/// sender loses the first process here, and aborts when eleven events are unread.
/// Lives on its creator's thread. A monitor that reads nothing for long loses events, as with the
/// kernel; a warning says so.
class UeventSender : public QObject
{
    Q_OBJECT

public:
    explicit UeventSender(const QString& testbed_dir);

    /// `sysfs_path` below "/sys"; `properties` one NAME=value a line.
    void send(const char* action, const QString& sysfs_path, const QByteArray& properties);

private:
    void findMonitors();

    QString m_dir;
    QFileSystemWatcher m_watcher;
    /// By inode and birth (seconds, nanoseconds) of their name: inodes are used again.
    std::map<std::tuple<quint64, qint64, qint64>, UniqueFd> m_monitors;
    quint64 m_sequence_number = 0;
};
