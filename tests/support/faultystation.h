#pragma once

#include "support/faultyrun.h"

#include <QByteArray>
#include <QTemporaryDir>

/// A station's folder on a storage that fails as planned, with one archive that holds no recording
/// yet. The working directory of the test, anew for each.
class FaultyStation
{
public:
    static inline const QString kArchive = QStringLiteral("datas/0000000000.cvx");
    static inline const QString kStickFile = QStringLiteral("stick/QVX_DATAS.cvx");
    static inline const QString kSideFile = QStringLiteral("addition.undo");

    FaultyStation();

    const QByteArray& original() const { return m_original; }
    /// The folder as it was, with these bytes for an archive.
    void reset(const QByteArray& archive_bytes) const;
    void reset() const { reset(m_original); }

    static FaultyRun run(const QStringList& steps, const QString& plan = {},
                         const QString& lost = QStringLiteral("none"));
    /// How many calls the storage gets when all goes well; 0 when it does not.
    int callsOf(const QStringList& steps) const;
    /// Until the archive has become one that no zip program reads: the power went in the middle of
    /// the addition. False when it never does.
    bool cutInTheMiddle(const QStringList& additions) const;

private:
    QTemporaryDir m_folder;
    QByteArray m_original;
};
