#pragma once

#include "system/stationpaths.h"

#include <QString>

/// Completes a pending replacement of the launcher program that is installed beside the station.
/// Lives on main's stack and runs before anything else, the log included, so it reports nothing:
/// the files in the launcher's directory are its only result.
class LauncherHandover
{
public:
    /// `directory` ends in a slash.
    explicit LauncherHandover(const QString& directory = stationpaths::kLauncher);
    virtual ~LauncherHandover() = default;

    void run();

protected:
    // A file system cannot be made to fail one chosen step on demand, a derived class can.
    virtual bool copy(const QString& from, const QString& to);
    virtual bool remove(const QString& path);
    virtual bool rename(const QString& from, const QString& to);
    virtual bool flush(const QString& path);

private:
    bool wasCutShort() const;
    bool setOldAside();

    const QString m_current;
    const QString m_new;
    const QString m_old;
};
