#pragma once

#include "site/stationdisk.h"

#include <QDir>
#include <QString>
#include <QTemporaryDir>

#include <optional>

/// The folders that stand for the station's storage and for the stick. Lives as long as the bench
/// and is owned by it. A folder that the user names is kept, one made up is removed at the end.
/// Throws BadInput when a folder cannot be made, or holds an earlier run: its files would be taken
/// for this one's.
class BenchFolder
{
public:
    /// kept: where to keep everything, or empty for a temporary folder. disk_bytes: of a disk of
    /// the station's own, or 0.
    explicit BenchFolder(const QString& kept, qint64 disk_bytes = 0);

    QString path() const { return m_root.path(); }
    /// Becomes "/opt/Corvane".
    QString station() const { return m_root.filePath(QStringLiteral("station")); }
    /// Becomes "/opt/CorvaneLauncher".
    QString launcher() const { return m_root.filePath(QStringLiteral("launcher")); }
    QString stick() const { return m_root.filePath(QStringLiteral("stick")); }
    QString log() const { return m_root.filePath(QStringLiteral("station.log")); }
    /// The station's own; null where it has this computer's.
    const StationDisk* disk() const { return m_disk ? &*m_disk : nullptr; }
    /// Where bench and private root talk.
    QString control() const { return m_control.path(); }
    QString screenSocket() const { return m_control.filePath(QStringLiteral("screen")); }

    /// "datas" of the station.
    QString archives() const { return station() + QStringLiteral("/datas"); }
    /// Command lines of those tools of the station that note them, in their order.
    QStringList toolsRun() const;
    /// Full paths of the station's own archives, oldest first.
    QStringList localArchives() const;

private:
    QTemporaryDir m_temporary;
    QTemporaryDir m_control;
    QDir m_root;
    std::optional<StationDisk> m_disk;
};
