#pragma once

#include <atomic>
#include <optional>

/// The controller's answer to one pod's recording. The broadcast Corvane::fileZipped only names a
/// place, where another pod may sit by the time it is delivered; this one is of one pod alone.
/// Thread-safe: the controller gives it, the pod's worker thread looks.
class ArchiveAnswer
{
public:
    /// Controller: whether the recording is in the archive and on the storage.
    void give(bool added);
    /// The pod: whether it was added; nothing while there is no answer.
    std::optional<bool> added() const;

private:
    enum class State { Pending, Added, Refused };
    std::atomic<State> m_state{State::Pending};
};
