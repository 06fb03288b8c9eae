#include "explore/dayplayer.h"

#include "common/badinput.h"
#include "common/dependentprocess.h"
#include "explore/dayfile.h"

#include <QDir>
#include <QEventLoop>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace {

const QString kMismatch = QStringLiteral("MISMATCH: ");
/// Longer than any scenario's own limit: a bench that is still there hangs itself.
constexpr std::chrono::minutes kHanging{30};

} // namespace

struct DayPlayer::Run
{
    std::size_t index = 0;
    QString folder;
    QString file;
    DependentProcess bench;
    QElapsedTimer clock;
    QTimer patience;
};

QStringList DayResult::rules() const
{
    static const QRegularExpression numbers(QStringLiteral("[0-9A-F]*[0-9][0-9A-F]*"));
    QStringList list;
    for (QString problem : problems)
        list += problem.replace(numbers, QStringLiteral("#"));
    list.removeDuplicates();
    return list;
}

DayPlayer::DayPlayer(PlayerSettings settings)
    : m_settings(std::move(settings))
{
    if (!m_folder.isValid())
        throw BadInput(QStringLiteral("no temporary folder: %1").arg(m_folder.errorString()));
}

DayPlayer::~DayPlayer() = default;

void DayPlayer::play(std::size_t count, const std::function<Day(std::size_t)>& day_of,
                     const Report& report)
{
    m_count = count;
    m_next = 0;
    m_day_of = day_of;
    m_report = report;
    QEventLoop loop;
    connect(this, &DayPlayer::allOver, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    startNext();
    loop.exec();
}

void DayPlayer::interrupt()
{
    m_interrupted = true;
    for (const auto& run : m_runs)
        run->bench.kill();
}

void DayPlayer::startNext()
{
    while (!m_interrupted && m_next < m_count &&
           m_runs.size() < static_cast<std::size_t>(m_settings.jobs))
        start(m_next++);
    if (m_runs.empty())
        emit allOver();
}

void DayPlayer::start(std::size_t index)
{
    const Day day = m_day_of(index);
    auto run = std::make_unique<Run>();
    Run& begun = *run;
    begun.index = index;
    begun.folder = m_folder.filePath(QString::number(index));
    begun.file = begun.folder + QStringLiteral("/day.json");
    if (!QDir().mkpath(begun.folder))
        throw BadInput(QStringLiteral("cannot make the folder %1").arg(begun.folder));
    writeDay(day, begun.file);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), begun.folder);
    begun.bench.setProcessEnvironment(environment);
    begun.bench.setProcessChannelMode(QProcess::MergedChannels);
    begun.bench.setStandardInputFile(QProcess::nullDevice());
    begun.patience.setSingleShot(true);
    connect(&begun.patience, &QTimer::timeout, &begun.bench, &QProcess::kill);
    // Queued: the process must not be gone while it tells of its end.
    connect(
        &begun.bench, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
        [this, &begun] { finish(begun); }, Qt::QueuedConnection);
    begun.clock.start();
    begun.patience.start(kHanging);
    begun.bench.start(m_settings.bench_program,
                      m_settings.arguments + playArguments(day, begun.file));
    m_runs.push_back(std::move(run));
}

void DayPlayer::finish(Run& run)
{
    DayResult result;
    result.seconds = static_cast<double>(run.clock.elapsed()) / 1000;
    result.output = QString::fromUtf8(run.bench.readAll());
    result.good = run.bench.exitStatus() == QProcess::NormalExit && run.bench.exitCode() == 0;
    for (const QString& line : result.output.split(QLatin1Char('\n')))
        if (line.startsWith(kMismatch))
            result.problems += line.mid(kMismatch.size());
    if (!result.good && result.problems.isEmpty())
        result.problems += QStringLiteral("the bench ended without a verdict, exit code %1: %2")
                               .arg(run.bench.exitCode())
                               .arg(result.output.trimmed().section(QLatin1Char('\n'), -1));
    QDir(run.folder).removeRecursively();
    const std::size_t index = run.index;
    m_runs.erase(std::find_if(m_runs.begin(), m_runs.end(),
                              [&run](const auto& one) { return one.get() == &run; }));
    if (!m_interrupted)
        m_report(index, result);
    startNext();
}
