#include "machine/machinereport.h"

#include "machine/machineshell.h"

#include <chrono>

namespace {

// Each answer takes several processes in a slow machine.
constexpr std::chrono::milliseconds kBetweenQuestions{500};

} // namespace

MachineReport::MachineReport(MachineShell& shell)
    : m_shell(shell)
{
    m_ask.setSingleShot(true);
    m_ask.setInterval(kBetweenQuestions);
    connect(&m_ask, &QTimer::timeout, this, &MachineReport::ask);
    connect(&shell, &MachineShell::ready, this, &MachineReport::ask);
}

int MachineReport::stationThreads() const
{
    return wanted().threads;
}

bool MachineReport::mounted(const QString& folder) const
{
    return wanted().mounts.contains(folder);
}

qint64 MachineReport::bytesOf(const QString& path) const
{
    return wanted().file_bytes.value(path, -1);
}

void MachineReport::forget()
{
    m_state = {};
    m_ask.stop();
}

/// One who wants to know comes back soon; what was known when nobody did is not told any more.
const MachineReport::State& MachineReport::wanted() const
{
    static const State nothing;
    const bool goes_on = m_wanted.isValid() && !m_wanted.hasExpired(kBetweenQuestions.count());
    m_wanted.start();
    return goes_on ? m_state : nothing;
}

void MachineReport::ask()
{
    const bool asked_for = m_wanted.isValid() && !m_wanted.hasExpired(kBetweenQuestions.count());
    if (!asked_for) {
        m_state = {};
        m_ask.start();
        return;
    }
    m_shell.run(QStringLiteral("report"), [this](const MachineShell::Result& result) {
        take(result.lines);
        m_ask.start();
    });
}

void MachineReport::take(const QStringList& lines)
{
    m_state = {};
    for (const QString& line : lines) {
        const QString kind = line.section(QLatin1Char(' '), 0, 0);
        const QString rest = line.section(QLatin1Char(' '), 1);
        if (kind == QLatin1String("threads"))
            m_state.threads = rest.toInt();
        else if (kind == QLatin1String("mount"))
            m_state.mounts.insert(rest);
        else if (kind == QLatin1String("file"))
            m_state.file_bytes.insert(rest.section(QLatin1Char(' '), 1),
                                      rest.section(QLatin1Char(' '), 0, 0).toLongLong());
    }
}
