#include "machine/machineshell.h"

#include <utility>

namespace {

// What the machine's first program says beside the output of commands.
const QByteArray kReady("@ready");
const QByteArray kDone("@done ");
const QByteArray kStationEnded("@station ended ");

} // namespace

void MachineShell::run(const QString& command, Done done)
{
    MachineLine::command(command.toUtf8(),
                         [this, done = std::move(done)](const QByteArray& answer) {
                             const Result result{answer.toInt(), std::exchange(m_lines, {})};
                             if (done)
                                 done(result);
                         });
}

void MachineShell::reset()
{
    MachineLine::reset();
    m_lines.clear();
}

void MachineShell::hear(const QByteArray& line)
{
    if (line == kReady) {
        setReady();
        emit ready();
    } else if (line.startsWith(kStationEnded)) {
        emit stationEnded(line.mid(kStationEnded.size()).toInt());
    } else if (line.startsWith(kDone) && waiting()) {
        answer(line.mid(kDone.size()));
    } else {
        m_lines += QString::fromUtf8(line);
    }
}
