#pragma once

#include <QStringList>

class BenchFolder;
class BenchStick;

/// Holds the panel to its word: once it says "copied", the stick may be taken, so its file must be
/// the station's newest archive, whole, and the stick unmounted; after a backup, which is said
/// while the stick is still mounted, "backup.zip" must be whole. Owned by the bench, on its thread.
class CopyPromise
{
public:
    /// Both must outlive it.
    CopyPromise(const BenchFolder& folder, const BenchStick& stick);

    void stationStarted() { m_completed = m_completed_by_picture = 0; }
    void readoutCompleted() { ++m_completed; }
    void pictureSeen() { m_completed_by_picture = m_completed; }
    /// To be called while the panel says "copied", before the picture that says so is noted.
    void check(bool stick_mounted);

    /// How it was broken so far, a line each.
    const QStringList& broken() const { return m_broken; }

private:
    QString whatIsWrong(bool stick_mounted) const;

    const BenchFolder& m_folder;
    const BenchStick& m_stick;
    int m_completed = 0; ///< read-outs since the station was started
    int m_completed_by_picture = 0;
    QStringList m_broken;
};
