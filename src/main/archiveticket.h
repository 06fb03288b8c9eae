#pragma once

#include <QLockFile>
#include <QString>

#include <atomic>
#include <memory>

/// One recording on its way from a pod's worker thread to the archive, shared by the pod and by the
/// controller's queue of files to add.
///
/// It answers two questions that the broadcast Corvane::fileZipped cannot: whether an answer is
/// meant for this pod and not for the one that sat in its place before, and whether the data file
/// may be written. Pods with the same file name take turns: the name stays claimed until the pod
/// has acted on the answer, or else the archive would be given the next pod's bytes.
class ArchiveTicket
{
public:
    enum class Answer {
        Pending,   ///< not yet asked for, or still in the controller's queue
        Added,     ///< in the archive and on the storage: the pod may be erased
        Refused,   ///< not in the archive
        Abandoned, ///< the pod is gone and waits for no answer
    };

    enum class Claim {
        Held,
        Stopped,    ///< the thread was asked to stop while another pod held the name
        Impossible, ///< no lock could be written, on a full disk say
    };

    /// Worker thread: claims `path`, waiting until no other pod holds it. Claiming again what is
    /// already held changes nothing.
    Claim claim(const QString& path);
    /// Worker thread: gives the name back, when no file will be handed over or after the answer.
    void release();

    /// Controller thread: leaves the answer. The result is what stood there before; Abandoned when
    /// nobody will act on it, and then the name is given back.
    Answer settle(bool added);
    /// Worker thread, the pod's end. The result is the answer that stood there, Pending when none.
    Answer abandon();

    Answer answer() const { return m_answer; }

private:
    std::unique_ptr<QLockFile> m_claim; ///< the worker's; the controller's once the pod is gone
    std::atomic<Answer> m_answer{Answer::Pending};
};
