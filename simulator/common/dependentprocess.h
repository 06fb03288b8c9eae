#pragma once

#include <QProcess>

#include <sys/types.h>

#include <unistd.h>

/// A process in a session of its own, so that an interrupt typed at the terminal is for the bench
/// alone, and which does not outlive the bench, however that ends. Reports failure as QProcess
/// does. The kernel ends it with the thread that started it: start it on one that stays.
class DependentProcess : public QProcess
{
    Q_OBJECT

public:
    using QProcess::QProcess;

protected:
    void setupChildProcess() override;

private:
    const pid_t m_bench = ::getpid();
};
