#include "bench/verdict.h"

#include "archives/archivecheck.h"
#include "archives/backupcheck.h"
#include "archives/reportcheck.h"
#include "archives/stickcheck.h"
#include "bench/copypromise.h"
#include "common/badinput.h"
#include "common/files.h"
#include "privateroot/servedstick.h"
#include "site/stationlog.h"
#include "support/testfiles.h"
#include "support/zipbytes.h"

#include <QCryptographicHash>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using testfiles::contentOf;

namespace {

using Files = QList<QPair<QString, QByteArray>>;

QByteArray digest(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

void writeArchive(const QString& path, const Files& files)
{
    QVector<zipbytes::Entry> entries;
    for (const auto& [name, bytes] : files)
        entries.append({name.toUtf8(), bytes});
    writeFile(path, zipbytes::archive(entries));
}

KnownRecording recording(int slot, const QString& name, const QByteArray& bytes)
{
    return {slot, name, static_cast<quint32>(bytes.size()), digest(bytes)};
}

const QPair<QString, QByteArray> kInfos{QStringLiteral("infos.log"), "Serial number: 1"};

} // namespace

/// What the bench concludes: from an archive, from the log, and about pods that come and go.
class BenchVerdictTest : public QObject
{
    Q_OBJECT

private slots:
    void checksArchives();
    void seesDamageInsideAnArchive();
    void missesNoEarlierArchive();
    void comparesTheBackup();
    void looksIntoTheReport();
    void comparesThePanel();
    void findsUnexpectedLines();
    void holdsThePanelToItsWord();
    void looksAtEveryStick();
    void judgesEveryRunOfTheStation();
};

void BenchVerdictTest::checksArchives()
{
    const QPair<QString, QByteArray> a{QStringLiteral("A.ozu"), "aaaa"};
    const QPair<QString, QByteArray> b{QStringLiteral("B.ozu"), "bbbb"};
    const std::vector<KnownRecording> known{recording(0, a.first, a.second),
                                            recording(1, b.first, b.second)};
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.cvx"));
    const auto check = [&](const Files& files, const char* expected) {
        writeArchive(path, files);
        QStringList problems;
        const auto entries = readArchive(path, problems);
        QCOMPARE(problems, QStringList());
        QCOMPARE(checkArchive(entries, known, known).join(u';'), QString::fromLatin1(expected));
    };
    check({kInfos, b, a}, "");
    check({kInfos, a, {QStringLiteral("B.ozu_0"), "bbbb"}}, "");
    check({kInfos, a}, "slot 1: B.ozu (4 bytes) is missing");
    check({kInfos, a, {QStringLiteral("B.ozu"), "bbbc"}},
          "slot 1: B.ozu (4 bytes) is damaged;B.ozu is no recording that belongs there");
    check({kInfos, a, b, {QStringLiteral("C.ozu"), "cc"}},
          "C.ozu is no recording that belongs there");
    check(
        {a, kInfos, b},
        "the information file is not the first entry;infos.log is no recording that belongs there");
}

void BenchVerdictTest::seesDamageInsideAnArchive()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.cvx"));
    QStringList problems;
    QVERIFY(readArchive(path, problems).empty());
    QCOMPARE(problems, QStringList(path + QStringLiteral(" is missing or no archive")));
    writeArchive(path, {}); // as a backup of nothing
    QVERIFY(readArchive(path, problems).empty());
    QCOMPARE(problems.size(), 1);

    writeArchive(path, {kInfos, {QStringLiteral("A.ozu"), "recorded"}});
    // The checksum now tells otherwise.
    writeFile(path, contentOf(path).replace("recorded", "recorDed"));
    problems.clear();
    const auto entries = readArchive(path, problems);
    QCOMPARE(entries.size(), std::size_t(2));
    QVERIFY(entries[1].sha256.isEmpty());
}

void BenchVerdictTest::missesNoEarlierArchive()
{
    const QTemporaryDir folder;
    const auto earlier = makeEarlierArchives(folder.path(), {4, 100000}, 1);
    const QString first = folder.filePath(earlier[0].name);
    QStringList problems;
    QCOMPARE(earlier[3].name, QStringLiteral("0000000003.cvx"));
    QCOMPARE(readArchive(first, problems).size(), std::size_t(2));
    const auto complaints = [&](const std::vector<ArchiveEntry>& backup,
                                const QStringList& erased) {
        return checkEarlierArchives(earlier, folder.path(), backup, erased);
    };
    QCOMPARE(complaints({}, {}), QStringList());

    QVERIFY(QFile::remove(folder.filePath(earlier[1].name)));
    QVERIFY(QFile::remove(first) && QFile::copy(folder.filePath(earlier[2].name), first));
    const QStringList both{
        QStringLiteral("LOST: 0000000000.cvx is not what it was, and in no backup"),
        QStringLiteral("LOST: 0000000001.cvx is gone and in no backup")};
    QCOMPARE(complaints({}, {}), both);
    QCOMPARE(complaints({{QStringLiteral("datas_1.cvx"), {}}}, {}), both); // unreadable
    QCOMPARE(complaints({{QStringLiteral("datas_1.cvx"), earlier[1].sha256}}, {}), both.mid(0, 1));
    QCOMPARE(complaints({}, {earlier[0].name}), both.mid(1));
}

void BenchVerdictTest::comparesTheBackup()
{
    const QTemporaryDir folder;
    const auto earlier = makeEarlierArchives(folder.path(), {2, 1000}, 1);
    const QStringList names{earlier[1].name, earlier[0].name};
    const ArchiveEntry newest{QStringLiteral("datas_1.cvx"), earlier[1].sha256};
    const ArchiveEntry oldest{QStringLiteral("datas_2.cvx"), earlier[0].sha256};
    QCOMPARE(checkBackup({newest, oldest}, names, earlier), QStringList());
    QCOMPARE(checkBackup({newest}, names, earlier),
             QStringList(QStringLiteral("the backup has 1 entries, not 2")));
    QCOMPARE(checkBackup({oldest, newest}, names, earlier).size(), 4);
    QCOMPARE(checkBackup({newest, {oldest.name, {}}}, names, earlier),
             QStringList(QStringLiteral("the backup's entry 2 is not 0000000000.cvx")));

    const QStringList one_new{QStringLiteral("new"), earlier[0].name};
    QCOMPARE(checkBackup({newest, oldest}, one_new, earlier), QStringList());
    QCOMPARE(checkBackup({{newest.name, {}}, oldest}, one_new, earlier).size(), 1);

    const QString backup = folder.filePath(QStringLiteral("backup.zip"));
    writeArchive(backup,
                 {{QStringLiteral("datas_1.cvx"), contentOf(folder.filePath(earlier[0].name))}});
    const auto inside = readBackedUpArchives(backup);
    QCOMPARE(inside.size(), std::size_t(2));
    QCOMPARE(inside[1].name, QStringLiteral("EA0000000000000.ozu"));
    QCOMPARE(inside[1].sha256, Recording(1000, 1000).sha256());
}

void BenchVerdictTest::looksIntoTheReport()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("report.zip"));
    const QString log = QStringLiteral("station.log");
    const auto check = [&](const Files& files, const char* expected) {
        writeArchive(path, files);
        const QStringList problems =
            checkReport(path, {{kInfos.first, {}}, {log, {QStringLiteral("index 4")}}},
                        {recording(1, QStringLiteral("A.ozu"), "aaaa index 4")});
        QCOMPARE(problems.join(u';'), QString::fromLatin1(expected));
    };
    QVERIFY(!checkReport(path, {}, {}).isEmpty()); // there is none
    check({kInfos, {log, "pod at index 4"}}, "");
    check({kInfos, {log, "pod at index 3"}}, "the report's 'station.log' lacks 'index 4'");
    check({kInfos, {log, "aaaa index 4"}}, "the report's 'station.log' is a recording");
    check({kInfos}, "the report holds infos.log, not infos.log, station.log");
    check({kInfos, {log, "index 4"}, {QStringLiteral("A.ozu"), "a"}},
          "the report holds A.ozu, infos.log, station.log, not infos.log, station.log");
    writeArchive(path, {kInfos, {log, "pod at index 4"}});
    writeFile(path, contentOf(path).replace("pod at", "Pod at"));
    QCOMPARE(checkReport(path, {{kInfos.first, {}}, {log, {}}}, {}),
             QStringList(QStringLiteral("the report's 'station.log' cannot be read")));
}

void BenchVerdictTest::comparesThePanel()
{
    Expectations expect;
    expect.panel_shown = {-2, 0};
    expect.panel_never = {1, 2};
    QCOMPARE(checkPanel({-2, -1, 0}, expect), QStringList());
    const QStringList both{QStringLiteral("the panel never showed -2"),
                           QStringLiteral("the panel showed 1")};
    QCOMPARE(checkPanel({0, 1}, expect), both);
}

void BenchVerdictTest::findsUnexpectedLines()
{
    StationLog log;
    QCOMPARE(log.append("[DEBUG]: one\n[WARN"), QStringList(QStringLiteral("[DEBUG]: one")));
    log.append("ING]: Download exception: cut\n[WARNING]: qrc:/qml/Pod.qml:3: undefined\n");
    log.append("[DEBUG]: [CRITICAL]: LibUsb\n[DEBUG]: one\n==9==ERROR: AddressSanitizer: leak\n");
    log.append("[WARNING]: QVncServer created on port 5900\n");
    QCOMPARE(log.count(QStringLiteral("one")), 2);
    const QStringList expected{QStringLiteral("[WARNING]: qrc:/qml/Pod.qml:3: undefined"),
                               QStringLiteral("==9==ERROR: AddressSanitizer: leak")};
    QCOMPARE(log.unexpected({QStringLiteral("Download exception"), QStringLiteral("LibUsb")}),
             expected);
}

void BenchVerdictTest::holdsThePanelToItsWord()
{
    const QTemporaryDir kept;
    const BenchFolder folder(kept.path());
    const ServedStick stick(folder.stick(), folder.control(), {});
    QVERIFY_EXCEPTION_THROWN(BenchFolder(kept.path()), BadInput); // holds an earlier run
    std::vector<KnownRecording> erased;
    const auto all_erased = [&erased] { return erased; };
    CopyPromise backup(folder, stick, all_erased);
    backup.pictureSeen(true, true);
    QCOMPARE(backup.broken().size(), 1);
    writeArchive(stick.path(QStringLiteral("backup.zip")), {kInfos});
    CopyPromise whole_backup(folder, stick, all_erased);
    whole_backup.pictureSeen(true, true);
    QCOMPARE(whole_backup.broken(), QStringList());

    const QString copy = stick.path(QStringLiteral("QVX_DATAS.cvx"));
    QVERIFY(QDir().mkdir(folder.archives()));
    const QPair<QString, QByteArray> a{QStringLiteral("A.ozu"), "aaaa"};
    writeArchive(folder.archives() + QStringLiteral("/0000000001.cvx"), {kInfos, a});
    writeArchive(copy, {{kInfos.first, "Serial number: 2"}, a}); // the recording, not the archive
    erased.push_back(recording(0, a.first, a.second));
    CopyPromise archive(folder, stick, all_erased);
    archive.readoutCompleted();
    archive.pictureSeen(true, false); // may be older than what the archive holds by now
    QCOMPARE(archive.broken(), QStringList());
    archive.pictureSeen(false, false);
    archive.pictureSeen(true, false);
    QCOMPARE(archive.broken().size(), 1);
    archive.pictureSeen(false, false); // work went on right after the copy
    QCOMPARE(archive.broken(), QStringList());
    archive.pictureSeen(true, false);
    writeArchive(copy, {kInfos, a});
    archive.pictureSeen(true, false); // too late
    archive.pictureSeen(false, false);
    QCOMPARE(archive.broken().size(), 1);
    archive.pictureSeen(true, true);
    QCOMPARE(archive.broken().size(), 2);
    archive.endedAsCopied();
    QCOMPARE(archive.broken().size(), 2);
}

/// A run may have several sticks, and what was owed is on whichever was there.
void BenchVerdictTest::looksAtEveryStick()
{
    const QTemporaryDir kept;
    const BenchFolder folder(kept.path());
    StickPlan plan;
    plan.items = {{QStringLiteral("mine.txt"), StickItem::Kind::Text, QStringLiteral("x"), 0}};
    ServedStick stick(folder.stick(), folder.control(), {});
    const QString owed = QStringLiteral("QVX_DATAS_0004A3123456_0000000000");
    writeArchive(stick.path(owed + QStringLiteral(".cvx")),
                 {kInfos, {QStringLiteral("A.ozu"), "aaaa"}});
    writeArchive(stick.path(QStringLiteral(".hidden.cvx")),
                 {kInfos, {QStringLiteral("D.ozu"), "dddd"}});
    stick.replace(plan);
    QVERIFY(stick.keeps(QStringLiteral("mine.txt")) && stick.lacks(owed + QStringLiteral(".cvx")));
    writeArchive(stick.path(owed + QStringLiteral("_1.cvx")),
                 {kInfos, {QStringLiteral("B.ozu"), "bbbb"}});
    const QString inner = kept.filePath(QStringLiteral("inner"));
    writeArchive(inner, {kInfos, {QStringLiteral("C.ozu"), "cccc"}});
    writeArchive(stick.path(QStringLiteral("backup.zip")),
                 {{QStringLiteral("datas_1.cvx"), contentOf(inner)}});
    stick.replace({});
    QVERIFY(!stick.keeps(QStringLiteral("mine.txt")));
    std::vector<KnownRecording> recordings;
    for (const char* letter : {"A", "B", "C", "D"})
        recordings.push_back(recording(0, QString::fromLatin1(letter) + QStringLiteral(".ozu"),
                                       QByteArray(letter).toLower().repeated(4)));
    QCOMPARE(undelivered(recordings, readSticks(stick.folders())),
             QStringList(QStringLiteral("D.ozu of slot 0 is on no stick")));

    bool at_work = false;
    CopyPromise promise(folder, stick, [&] {
        return at_work ? recordings
                       : std::vector<KnownRecording>(recordings.begin(), recordings.begin() + 3);
    });
    promise.pictureSeen(true, false); // what was owed, by an idle station
    QCOMPARE(promise.broken(), QStringList());
    promise.pictureSeen(true, false);
    at_work = true;
    promise.endedAsCopied();
    QCOMPARE(promise.broken().size(), 1);
}

void BenchVerdictTest::judgesEveryRunOfTheStation()
{
    BenchSettings settings;
    settings.station_program = QStringLiteral("/bin/false");
    Bench bench(settings, plainScenario({}, {}, false, {}));
    QVERIFY_EXCEPTION_THROWN(bench.perform(verb::Stick{false, {}}), BadInput); // it is out
    QVERIFY_EXCEPTION_THROWN(bench.perform(verb::GrowArchive{1}), BadInput);   // there is none
    QVERIFY_EXCEPTION_THROWN(bench.perform(verb::LeaveRoom{1}), BadInput);     // of all disks
    const QSignalSpy ended(&bench.station(), &Station::ended);
    bench.start();
    QTRY_COMPARE(ended.count(), 1);
    bench.perform(verb::RestartStation{});
    QTRY_COMPARE(ended.count(), 2);
    Expectations expect;
    expect.kept = slotSetOf(3);
    expect.delivered = slotSetOf(4);
    expect.stick_keeps = QStringList(QStringLiteral("photo"));
    expect.station_lacks = QStringList(QStringLiteral("version"));
    expect.exit_code = 1;
    expect.never_run = QStringList(QStringLiteral("lsusb"));
    writeFile(bench.folder().control() + QStringLiteral("/tools.log"), "blkid \nlsusb -v\n");
    const QStringList problems = judge(bench, expect).problems;
    QVERIFY(problems.contains(
        QStringLiteral("a run of the station before the last ended with exit code 1")));
    QVERIFY(problems.contains(QStringLiteral("lsusb was run")));
    QVERIFY(problems.contains(QStringLiteral("slot 3 never had a pod")));
    QVERIFY(problems.contains(QStringLiteral("the station holds 'version'")));
    QVERIFY(problems.contains(QStringLiteral("slots never erased: 4")));
    QVERIFY(problems.contains(QStringLiteral("the stick's 'photo' is not what it was")));
}

QTEST_GUILESS_MAIN(BenchVerdictTest)
#include "verdict.moc"
