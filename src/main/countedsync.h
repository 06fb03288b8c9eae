#pragma once

#include <QObject>

#include <atomic>

/// One pod's synchronisation in the controller's count: begun once, and taken off once, at the
/// first failure or with the ticket that it is part of, unless the recording was archived before.
/// Thread-safe. `counted` comes on whichever thread told.
class CountedSync : public QObject
{
    Q_OBJECT

public:
    CountedSync() = default;
    ~CountedSync() override;
    CountedSync(const CountedSync&) = delete;
    CountedSync& operator=(const CountedSync&) = delete;
    CountedSync(CountedSync&&) = delete;
    CountedSync& operator=(CountedSync&&) = delete;

    /// The controller, before it answers: what fails from now on takes nothing off.
    void setArchived();

public slots:
    /// As Pod::syncInProgress says it, however often.
    void tell(bool failed);

signals:
    void counted(bool failed); ///< for Corvane::nbPodsInSync

private:
    enum class State { NotBegun, Counted, Over };
    std::atomic<State> m_state{State::NotBegun};
};
