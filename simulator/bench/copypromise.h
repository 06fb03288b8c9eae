#pragma once

#include "archives/archivecheck.h"

#include <QSet>
#include <QStringList>

#include <functional>

class BenchFolder;
class BenchStick;

/// Holds the panel to its word: once it says "copied", the stick may be taken, and nothing is left
/// to be delivered. So each recording that was erased from a pod in this run is whole on one of its
/// sticks, the station's newest archive, if it holds recordings, byte for byte, and the stick is
/// unmounted; after a backup, which is said while the stick is still mounted, "backup.zip" is
/// whole. Owned by the bench, on its thread.
class CopyPromise
{
public:
    using Recordings = std::vector<KnownRecording>;

    /// Folder and stick must outlive it; erased: every recording that exists in no pod any more.
    CopyPromise(const BenchFolder& folder, const BenchStick& stick,
                std::function<Recordings()> erased);

    void stationStarted();
    void readoutCompleted()
    {
        ++m_completed;
        m_ever_completed = true;
    }
    /// The panel says "copied", or not. What is missing at the first such picture is only a doubt:
    /// of a pod that was read while the controller copied, the panel tells right after the copy. It
    /// is a lie when the next picture still says "copied", or when none comes.
    void pictureSeen(bool copied, bool stick_mounted);
    /// The station has ended, and "copied" was the last that the panel said.
    void endedAsCopied();

    /// The stick may be used for something else from now on: what is whole on one counts as
    /// delivered for good.
    void noteDelivered();
    /// No stick needs to get these: the station was told to erase them.
    void giveUp(const Recordings& recordings);
    /// A line for each of these recordings that is whole on no stick, and was on none.
    QStringList undelivered(const Recordings& recordings) const;

    /// How it was broken, a line each.
    QStringList broken() const;

private:
    QString whatIsWrong(bool stick_mounted) const;
    QString whatIsMissing(bool backup) const;
    Recordings notYetDelivered(const Recordings& recordings) const;
    bool saysBackup() const;
    bool newestIsOnAStick() const;

    const BenchFolder& m_folder;
    const BenchStick& m_stick;
    std::function<Recordings()> m_erased;
    QSet<QByteArray> m_delivered; ///< digests of what was on a stick, or need not be
    bool m_ever_completed = false;
    int m_completed = 0; ///< read-outs since the station was started
    int m_completed_by_picture = 0;
    bool m_copied = false; ///< the last picture
    QString m_doubt;       ///< what was wrong at the first such picture, if anything
    QStringList m_lies;
};
