#pragma once

#include "machine/machineline.h"

#include <QStringList>

/// The shell that runs in the machine: command lines in, their output and exit code back. Owned by
/// the machine.
class MachineShell : public MachineLine
{
    Q_OBJECT

public:
    struct Result
    {
        int exit_code = 0;
        QStringList lines;
    };
    using Done = std::function<void(const Result&)>;

    using MachineLine::MachineLine;

    void run(const QString& command, Done done = {});
    using MachineLine::underWay;
    void reset() override;

signals:
    /// The machine is up and its devices are there.
    void ready();
    /// The program started by "start_station" has ended.
    void stationEnded(int exit_code);

protected:
    void hear(const QByteArray& line) override;

private:
    QStringList m_lines; ///< that the command under way has written
};
