#include "machine/machinereport.h"

#include "machine/machineshell.h"

#include <chrono>
#include <utility>

namespace {

// Each answer takes several processes in a slow machine.
constexpr std::chrono::milliseconds kBetweenQuestions{500};

} // namespace

MachineReport::MachineReport(MachineShell& shell)
    : m_shell(shell)
{
    m_next_question.setSingleShot(true);
    m_next_question.setInterval(kBetweenQuestions);
    connect(&m_next_question, &QTimer::timeout, this, &MachineReport::askIfWanted);
    connect(&shell, &MachineShell::ready, this, &MachineReport::askIfWanted);
}

std::optional<int> MachineReport::stationThreads() const
{
    return wanted() ? std::optional(m_state->threads) : std::nullopt;
}

std::optional<bool> MachineReport::mounted(const QString& folder) const
{
    return wanted() ? std::optional(m_state->mounts.contains(folder)) : std::nullopt;
}

std::optional<qint64> MachineReport::bytesOf(const QString& path) const
{
    return wanted() ? std::optional(m_state->file_bytes.value(path, -1)) : std::nullopt;
}

void MachineReport::forget()
{
    m_state.reset();
    m_next_question.stop();
}

const std::optional<MachineReport::State>& MachineReport::wanted() const
{
    m_wanted = true;
    return m_state;
}

/// What was known when nobody wanted to know is old when somebody does.
void MachineReport::askIfWanted()
{
    if (!std::exchange(m_wanted, false)) {
        m_state.reset();
        m_next_question.start();
        return;
    }
    m_shell.run(QStringLiteral("report"), [this](const MachineShell::Result& result) {
        take(result.lines);
        m_next_question.start();
    });
}

void MachineReport::take(const QStringList& lines)
{
    State state{};
    for (const QString& line : lines) {
        const QString kind = line.section(QLatin1Char(' '), 0, 0);
        const QString rest = line.section(QLatin1Char(' '), 1);
        if (kind == QLatin1String("threads"))
            state.threads = rest.toInt();
        else if (kind == QLatin1String("mount"))
            state.mounts.insert(rest);
        else if (kind == QLatin1String("file"))
            state.file_bytes.insert(rest.section(QLatin1Char(' '), 1),
                                    rest.section(QLatin1Char(' '), 0, 0).toLongLong());
    }
    m_state = state;
}
