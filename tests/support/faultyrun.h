#pragma once

#include <QString>
#include <QStringList>

/// One run of the driver on a storage that fails, or loses its power, as a plan says; the driver's
/// steps and the plan's words are explained in their own sources.
struct FaultyRun
{
    QString answers; ///< a y or an n for each step that came to its end
    bool killed = false;
    int calls = 0; ///< of the storage; 0 when killed
    int reads = 0; ///< of its files, likewise

    /// Below `folder` the storage is faulty; `spare` is an empty folder beside what it strikes, of
    /// the same file system.
    static FaultyRun of(const QStringList& steps, const QString& folder, const QString& spare,
                        const QString& plan, const QString& lost);
};
