// Prints what a backup costs, as ratios of figures taken in the same run, in a table for the README
// of this folder: the real program at the bench, with 25 archives in store. Works in the folder for
// temporary files: give it the storage that matters.
#include "archives/earlierarchives.h"
#include "common/panelcode.h"
#include "commontools.h"
#include "figures.h"
#include "stationrun.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

namespace {

using Kind = Condition::Kind;

constexpr int kPanelWaiting = 2;
constexpr quint64 kSeed = 1;
constexpr double kMemoryAimMebibytes = 16;

EarlierPlan archives()
{
    EarlierPlan plan;
    plan.count = 25;
    plan.size_bytes = 20'000'000;
    return plan;
}

Scenario session(bool backup)
{
    Scenario scenario;
    scenario.earlier = archives();
    scenario.expect.on_stick = false;
    if (backup) {
        StickItem command;
        command.name = QStringLiteral("cmd_gen_backup.txt");
        scenario.stick.items.push_back(command);
    }
    return scenario;
}

struct Backup
{
    double seconds;
    double peak_mebibytes;
};

Backup measureBackup()
{
    StationRun run(session(true));
    const qint64 begun_ms = run.await(Kind::Log, QStringLiteral("Generating backup"), 1);
    const qint64 done_ms = run.await(Kind::Panel, {}, kPanelCopied);
    const Backup backup{double(done_ms - begun_ms) / 1000, run.peakMemoryMebibytes()};
    run.await(Kind::Log, QStringLiteral("Current zip"), 1);
    run.endAndJudge();
    return backup;
}

double idleMebibytes()
{
    StationRun run(session(false));
    run.await(Kind::Panel, {}, kPanelWaiting);
    return run.peakMemoryMebibytes();
}

double toolsSeconds()
{
    const QTemporaryDir folder;
    makeEarlierArchives(folder.path(), archives(), kSeed);
    QStringList files;
    for (const QFileInfo& file : QDir(folder.path()).entryInfoList(QDir::Files))
        files += file.filePath();
    return copyPackAndCompareSeconds(files);
}

void measureAndPrint(QTextStream& out)
{
    figures::printHead(out);
    const Backup backup = measureBackup();
    figures::printRow(out,
                      "backup of 25 archives x 20 MB onto the stick, over `cp` + `zip -6` + `cmp`",
                      backup.seconds, toolsSeconds(), "s", "<= 1.15");
    const double idle = idleMebibytes();
    out << "| peak memory of that backup over an idle station's | | "
        << figures::number(backup.peak_mebibytes, 1) << " - " << figures::number(idle, 1) << " = "
        << figures::number(backup.peak_mebibytes - idle, 1)
        << " MiB | <= " << figures::number(kMemoryAimMebibytes, 0) << " MiB |\n";
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    return figures::print(measureAndPrint);
}
