#pragma once

#include <atomic>
#include <optional>

/// The controller's answer to one pod's recording. The broadcast Corvane::fileZipped only names a
/// place, where another pod may sit by the time it is delivered; this one is of one pod alone.
/// Thread-safe: the controller gives it, the pod's worker thread looks, and whichever comes last
/// learns of the other, so that a refusal is counted back exactly once.
class ArchiveAnswer
{
public:
    /// Controller: whether the recording is in the archive and on the storage. False when the pod
    /// has gone, and nobody will act on the answer.
    bool give(bool added);
    /// The pod's end. The result is the answer that was there already.
    std::optional<bool> abandon();
    /// The pod: whether it was added; nothing while there is no answer.
    std::optional<bool> added() const;

private:
    enum class State { Pending, Added, Refused, Abandoned };
    static std::optional<bool> answerIn(State state);

    std::atomic<State> m_state{State::Pending};
};
