#include "archives/archivecheck.h"
#include "common/badinput.h"
#include "common/tool.h"
#include "machine/computer.h"
#include "machine/machinesite.h"
#include "support/diskstates.h"
#include "support/machinetest.h"

#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <memory>
#include <vector>

/// Lets the kernel log all that is written to the station's disk while pods are archived, and
/// starts the station again on each of a thousand disks that a loss of power could have left
/// behind. For more disks set CORVANE_DISKS=10000, for others CORVANE_DISKS_SEED=2 and, as the test
/// library ends a test after five minutes, QTEST_FUNCTION_TIMEOUT=36000000.
class WriteLog : public QObject
{
    Q_OBJECT

private slots:
    void losesNothingAcknowledged();

private:
    using Recordings = std::vector<KnownRecording>;

    void record(const QString& disk, const SlotSet& one_by_one, const SlotSet& together);
    void makeBench();
    void markErased();
    void archiveOneByOne(const SlotSet& slot_set);
    void archiveTogether(const SlotSet& slot_set);
    void replay(int wanted);
    void look(const DiskStates::State& state);
    Recordings acknowledgedAt(const DiskStates::State& state) const;
    void noteHalfDone(const DiskStates::State& state);
    bool startStorage(const QString& folder);
    void startStation(const DiskStates::State& state);
    void bootMachine(const DiskStates::State& state);
    void checkBench(Bench& bench, const DiskStates::State& state, const char* where);
    void note(const DiskStates::State& state, const char* where, const QString& problem);

    QTemporaryDir m_work;
    std::unique_ptr<Bench> m_bench;
    MachineSite* m_site = nullptr; ///< the bench's
    /// By the number that its mark in the log has: what had been erased from pods when that was put
    /// there. The storage had it all before.
    std::vector<Recordings> m_erased;
    Recordings m_earlier; ///< was on the disk when the run began
    /// The disk with most on it of those where an addition was to be put back.
    QString m_half_done;
    Recordings m_on_half_done;
    int m_disks = 0;
    int m_put_back = 0;
    int m_stations = 0;
    int m_boots = 0;
    QStringList m_problems;
};

using namespace machinetest;

namespace {

constexpr quint64 kDiskBytes = quint64(64) << 20;
constexpr int kUsualDisks = 1000;
/// Every so many disks the program itself is started on one, as at a bench; that takes seconds.
constexpr int kDisksForStation = 50;
/// And the machine, which takes half a minute.
constexpr int kDisksForBoot = 450;
constexpr int kMostProblems = 10;
const QString kPuttingBack = QStringLiteral("Putting archive back:");
/// Said by every start once nothing is half done any more.
const QString kChoosingArchive = QStringLiteral("Last zip files count:");
const QString kStation = QStringLiteral("Corvane");
/// Of the run that is replayed, as far as that has come.
const QString kDisk = QStringLiteral("disk.img");

/// Without a stick, which could take what was to be found on the disk.
Scenario scenario()
{
    return quickPods(16 * 1024, 512 * 1024, false);
}

BenchSettings benchSettings()
{
    BenchSettings settings;
    settings.station_program = QStringLiteral(CORVANE_STATION_PROGRAM);
    return settings;
}

void copySparse(const QString& from, const QString& to)
{
    runTool(QStringLiteral("cp"), {QStringLiteral("--sparse=always"), from, to});
}

/// The owed archives alone, or all.
std::vector<ArchiveEntry> entriesBelow(const QDir& station, bool owed)
{
    QFile list(station.filePath(QStringLiteral("owed")));
    const QList<QByteArray> names =
        list.open(QIODevice::ReadOnly) ? list.readAll().split('\n') : QList<QByteArray>();
    std::vector<ArchiveEntry> entries;
    QStringList unreadable; // which is no loss by itself
    for (const QFileInfo& file :
         QDir(station.filePath(QStringLiteral("datas"))).entryInfoList(QDir::Files)) {
        if (owed && !names.contains(file.fileName().toUtf8()))
            continue;
        const std::vector<ArchiveEntry> more = readArchive(file.filePath(), unreadable);
        entries.insert(entries.end(), more.begin(), more.end());
    }
    return entries;
}

/// Of these in the station's folder: what is whole in no archive, and what no stick would get.
QStringList lossesOf(const std::vector<KnownRecording>& recordings, const QString& station)
{
    const std::vector<ArchiveEntry> all = entriesBelow(QDir(station), false);
    const std::vector<ArchiveEntry> owed = entriesBelow(QDir(station), true);
    QStringList losses;
    for (const KnownRecording& recording : recordings)
        if (!holdsRecording(all, recording))
            losses += QStringLiteral("LOST %1").arg(recording.name);
        else if (!holdsRecording(owed, recording))
            losses += QStringLiteral("NOT OWED %1").arg(recording.name);
    return losses;
}

} // namespace

/// The log then says: this was erased by now. A mark is late, never early, as the pod's word for it
/// has gone through two computers; while no other pod is there, nothing is written meanwhile.
void WriteLog::markErased()
{
    const auto number = m_erased.size();
    m_erased.push_back(m_bench->rack().erasedRecordings());
    const QString failure =
        failureOf(m_site->shell(), QStringLiteral("dmsetup message opt 0 mark %1").arg(number));
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
}

void WriteLog::archiveOneByOne(const SlotSet& slot_set)
{
    for (int slot = 0; slot < kSlotCount; ++slot) {
        if (!slot_set.test(slot))
            continue;
        m_bench->perform(verb::Plug{slotSetOf(slot), {}});
        QVERIFY(comes([&] { return m_bench->rack().report(slot).erased; }));
        markErased();
    }
}

/// Where one addition follows on the other. A pod that is there is plugged anew.
void WriteLog::archiveTogether(const SlotSet& slot_set)
{
    const std::size_t all = m_erased.back().size() + slot_set.count();
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (slot_set.test(slot) && m_bench->rack().plugged().test(slot))
            m_bench->perform(verb::Unplug{slotSetOf(slot)});
    m_bench->perform(verb::Plug{slot_set, {}});
    while (m_erased.back().size() < all) {
        QVERIFY(comes(
            [&] { return m_bench->rack().erasedRecordings().size() > m_erased.back().size(); }));
        markErased();
    }
}

void WriteLog::makeBench()
{
    MachineExtras extras;
    extras.disk_bytes = kDiskBytes;
    extras.writes_logged = true;
    m_bench = benchOf(Computer::desk(), extras, scenario(), m_site);
}

/// disk: the one that the station has; empty: a new one.
void WriteLog::record(const QString& disk, const SlotSet& one_by_one, const SlotSet& together)
{
    makeBench();
    m_erased.clear();
    if (!disk.isEmpty())
        copySparse(disk, m_site->disk().image());
    copySparse(m_site->disk().image(), m_work.filePath(kDisk));
    m_bench->start();
    QVERIFY(comes([&] { return m_bench->holds({Condition::Kind::Log, {}, kChoosingArchive, 1}); }));
    archiveOneByOne(one_by_one);
    if (!QTest::currentTestFailed())
        archiveTogether(together);
    m_bench->perform(verb::Quit{});
    QVERIFY(comes([&] { return !m_bench->station().running(); }));
    Expectations expect;
    expect.on_stick = false;
    expect.archived = one_by_one | together;
    expect.erased = expect.archived;
    QVERIFY(isGood(*m_bench, expect));
}

WriteLog::Recordings WriteLog::acknowledgedAt(const DiskStates::State& state) const
{
    Recordings all = m_earlier;
    if (!state.mark.isEmpty()) {
        const Recordings& erased = m_erased.at(state.mark.toUInt());
        all.insert(all.end(), erased.begin(), erased.end());
    }
    return all;
}

void WriteLog::note(const DiskStates::State& state, const char* where, const QString& problem)
{
    m_problems += QStringLiteral("disk %1, between flushes %2, %3: %4")
                      .arg(state.number)
                      .arg(state.interval)
                      .arg(QLatin1String(where), problem);
}

/// As the station starts, its part with the archives: puts back, then begins a new one. True when
/// there was something to put back.
bool WriteLog::startStorage(const QString& folder)
{
    QDir station(folder);
    station.mkdir(QStringLiteral("tmp"));
    QFile infos(station.filePath(QStringLiteral("tmp/infos.log")));
    if (!infos.open(QIODevice::WriteOnly))
        throw BadInput(infos.errorString());
    infos.close();
    const ToolResult result =
        runTool(QStringLiteral(CORVANE_STORAGE_DRIVER),
                {QStringLiteral("recover"), QStringLiteral("begin")}, {{}, folder, 0});
    if (result.output != "yy")
        throw BadInput(QString::fromUtf8(result.errors));
    return result.errors.contains(kPuttingBack.toUtf8());
}

/// The program itself, where a private root takes the place of the machine.
void WriteLog::startStation(const DiskStates::State& state)
{
    ++m_stations;
    Bench bench(benchSettings(), scenario());
    const QTemporaryDir folder(m_work.filePath(QStringLiteral("station")));
    copySparse(state.image, folder.filePath(QStringLiteral("copy")));
    OptDisk::extract(folder.filePath(QStringLiteral("copy")), folder.path());
    runTool(QStringLiteral("cp"),
            {QStringLiteral("-a"), folder.filePath(kStation) + QStringLiteral("/."),
             bench.folder().station()});
    checkBench(bench, state, "with the station started");
}

/// Where the kernel itself mends the file system.
void WriteLog::bootMachine(const DiskStates::State& state)
{
    ++m_boots;
    BenchSettings settings = benchSettings();
    settings.make_site = machineMaker(Computer::desk());
    Bench bench(settings, scenario());
    copySparse(state.image, QDir(bench.folder().path()).filePath(QStringLiteral("opt.img")));
    checkBench(bench, state, "with the machine booted");
}

void WriteLog::checkBench(Bench& bench, const DiskStates::State& state, const char* where)
{
    bench.start();
    const bool started = comes([&] {
        return bench.holds({Condition::Kind::Log, {}, kChoosingArchive, 1});
    });
    bench.perform(verb::Quit{});
    if (!started || !comes([&] { return !bench.station().running(); }))
        note(state, where, QStringLiteral("it does not start"));
    for (const QString& line : bench.station().log().unexpected({}))
        note(state, where, line);
    for (const QString& loss : lossesOf(acknowledgedAt(state), bench.folder().station()))
        note(state, where, loss);
}

void WriteLog::noteHalfDone(const DiskStates::State& state)
{
    ++m_put_back;
    const Recordings acknowledged = acknowledgedAt(state);
    if (!m_earlier.empty() || acknowledged.size() <= m_on_half_done.size())
        return;
    m_half_done = m_work.filePath(QStringLiteral("halfdone.img"));
    copySparse(state.image, m_half_done);
    m_on_half_done = acknowledged;
}

void WriteLog::look(const DiskStates::State& state)
{
    if (m_problems.size() > kMostProblems)
        return;
    ++m_disks;
    try {
        if (m_disks % kDisksForStation == 0)
            startStation(state);
        if (m_disks % kDisksForBoot == 0)
            bootMachine(state);
        const QTemporaryDir folder(m_work.filePath(QStringLiteral("files")));
        OptDisk::extract(state.image, folder.path());
        if (startStorage(folder.filePath(kStation)))
            noteHalfDone(state);
        for (const QString& loss : lossesOf(acknowledgedAt(state), folder.filePath(kStation)))
            note(state, "with the storage started", loss);
    } catch (const BadInput& bad) {
        note(state, "with the storage started", bad.text());
    }
}

void WriteLog::replay(int wanted)
{
    DiskStates states(m_work.filePath(kDisk), readWriteLog(m_site->writeLog()), wanted,
                      quint32(numberFrom("CORVANE_DISKS_SEED", 1)));
    states.each([this](const DiskStates::State& state) { look(state); });
}

/// Twice, as what a start puts back is logged too, and the power may go again meanwhile.
void WriteLog::losesNothingAcknowledged()
{
    const int wanted = numberFrom("CORVANE_DISKS", kUsualDisks);
    record({}, slotSetFromText(QStringLiteral("0-4")), slotSetFromText(QStringLiteral("0,5-7")));
    if (QTest::currentTestFailed())
        return;
    replay(wanted * 3 / 4);
    QVERIFY2(m_problems.isEmpty(), qPrintable(m_problems.join(QLatin1Char('\n'))));
    QVERIFY(!m_half_done.isEmpty());
    m_earlier = m_on_half_done;
    record(m_half_done, slotSetFromText(QStringLiteral("10-11")), {});
    if (QTest::currentTestFailed())
        return;
    QVERIFY(m_bench->holds({Condition::Kind::Log, {}, kPuttingBack, 1}));
    replay(wanted - m_disks);
    qInfo("%d disks, %d of them with an addition that had to be put back; the program was started "
          "on %d, the machine on %d",
          m_disks, m_put_back, m_stations, m_boots);
    QVERIFY2(m_problems.isEmpty(), qPrintable(m_problems.join(QLatin1Char('\n'))));
    QVERIFY(m_disks >= wanted && m_stations > 0);
}

QTEST_GUILESS_MAIN(WriteLog)
#include "writelog.moc"
