#include "system/childprocess.h"

#include <QDeadlineTimer>
#include <QProcess>

#include <memory>

namespace {

using std::chrono::milliseconds;

/// How long a killed child may take to go; only one that the kernel holds (a stick that no longer
/// answers) takes longer.
constexpr milliseconds kKillTime{2000};

void keepOutput(QProcess& child, QByteArray& output)
{
    const QByteArray more = child.readAllStandardOutput();
    output.append(more.left(ChildProcess::kMaxOutputBytes - output.size()));
}

bool waitReading(QProcess& child, const QDeadlineTimer& deadline, QByteArray& output)
{
    while (child.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        child.waitForReadyRead(int(deadline.remainingTime()));
        keepOutput(child, output);
    }
    return child.state() == QProcess::NotRunning;
}

/// A child that even a kill does not end is left to the thread's event loop, which reaps it when
/// the kernel lets it go: its destruction here would wait for that.
void abandon(std::unique_ptr<QProcess> child)
{
    child->kill();
    if (child->waitForFinished(int(kKillTime.count())))
        return;
    QProcess* left = child.release();
    QObject::connect(left, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), left,
                     &QObject::deleteLater);
}

} // namespace

ChildProcess::Result ChildProcess::run(const QString& program, const QStringList& arguments,
                                       milliseconds limit)
{
    Result result;
    auto child = std::make_unique<QProcess>();
    child->setStandardInputFile(QProcess::nullDevice());
    child->setStandardErrorFile(QProcess::nullDevice());
    const QDeadlineTimer deadline(limit);
    child->start(program, arguments);
    if (!waitReading(*child, deadline, result.output)) {
        abandon(std::move(child));
        return result;
    }
    if (child->error() != QProcess::FailedToStart)
        result.end = child->exitStatus() == QProcess::NormalExit ? End::Exited : End::Crashed;
    return result;
}
