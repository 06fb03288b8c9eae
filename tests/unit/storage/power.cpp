// What the storage holds when it fails, lies, or loses its power at any one of its calls.
#include "archive/archiveaddition.h"
#include "support/faultyrun.h"
#include "support/testfiles.h"
#include "system/checksum.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <array>

using testfiles::contentOf;
using testfiles::write;

namespace {

const QString kArchive = QStringLiteral("datas/0000000000.cvx");
const QString kStickFile = QStringLiteral("stick/QVX_DATAS.cvx");
const QString kSideFile = QStringLiteral("addition.undo");

QByteArray noise(quint32 seed, int bytes)
{
    QByteArray content(bytes, Qt::Uninitialized);
    QRandomGenerator generator(seed);
    for (char& byte : content)
        byte = char(generator.bounded(256));
    return content;
}

/// Of what came from two pods.
const std::array<QByteArray, 2> kRecordings = {noise(1, 300000), noise(2, 5000)};

QString addition(const char* file, const QByteArray& recording)
{
    Checksum checksum;
    checksum.add(recording);
    return QStringLiteral("record:%1:tmp/%2:%3")
        .arg(kArchive, QLatin1String(file))
        .arg(checksum.value());
}

const QStringList kTwoAdditions = {addition("a.ozu", kRecordings[0]),
                                   addition("b.ozu", kRecordings[1])};

QString firstRefusedKept(QString answers)
{
    const int at = answers.indexOf(u'n');
    return at < 0 ? answers : answers.replace(at, 1, u'y');
}

/// Rows of a column: what a loss of power takes, what a call does.
void addRows(const char* column, std::initializer_list<const char*> values)
{
    QTest::addColumn<QString>(column);
    for (const char* value : values)
        QTest::newRow(value) << QString::fromLatin1(value);
}

} // namespace

class StoragePower : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void additionSurvivesALoss_data();
    void additionSurvivesALoss();
    void additionUndoesAFailure_data();
    void additionUndoesAFailure();
    void liesAreFoundOut_data();
    void liesAreFoundOut();
    void killWhilePuttingBack_data();
    void killWhilePuttingBack();
    void recoveryMayBeCutShort_data();
    void recoveryMayBeCutShort();
    void recoveryLeavesTheRestAlone();
    void recordWaitsForItsArchive();
    void olderRecordTakesNothingBack();
    void newArchiveIsNeverHalfMade_data();
    void newArchiveIsNeverHalfMade();
    void archivesStayWhenNoneCanBeBegun();
    void archivesStayWhenEachStartIsCut();
    void badBlocksAreLeftBehind();
    void unlistedArchivesStay();
    void copyIsWholeOrNone_data();
    void copyIsWholeOrNone();

private:
    void reset(const QByteArray& archiveBytes);
    static FaultyRun run(const QStringList& steps, const QString& plan = {},
                         const QString& lost = QStringLiteral("none"));
    int callsOf(const QStringList& steps);
    QByteArray archiveWith(const QStringList& sources);
    void checkAfterKill(const FaultyRun& run);
    void checkHeld(const QString& one, const QString& other);

    QScopedPointer<QTemporaryDir> m_folder;
    QByteArray m_original;
    /// The archive after those of the two additions that are marked y.
    QMap<QString, QByteArray> m_expected;
};

void StoragePower::init()
{
    m_folder.reset(new QTemporaryDir);
    const QDir root(m_folder->path());
    for (const char* name : {"station/datas", "station/tmp", "station/stick", "spare", "unpacked"})
        QVERIFY(root.mkpath(QLatin1String(name)));
    QVERIFY(QDir::setCurrent(root.filePath(QStringLiteral("station"))));
    // Longer than one block, and no shorter once deflated.
    QVERIFY(write(QStringLiteral("tmp/a.ozu"), kRecordings[0]));
    QVERIFY(write(QStringLiteral("tmp/b.ozu"), kRecordings[1]));
    QVERIFY(write(QStringLiteral("tmp/infos.log"), "Serial number: 001122334455"));
    QVERIFY(ZipUtils::createZip(kArchive));
    QVERIFY(ZipUtils::addFile(kArchive, QStringLiteral("tmp/infos.log")));
    m_original = contentOf(kArchive);
    const QString a = QStringLiteral("tmp/a.ozu");
    const QString b = QStringLiteral("tmp/b.ozu");
    m_expected = {{QStringLiteral("nn"), m_original},
                  {QStringLiteral("yn"), archiveWith({a})},
                  {QStringLiteral("ny"), archiveWith({b})},
                  {QStringLiteral("yy"), archiveWith({a, b})}};
    // The yardstick itself: an archive with everything that the other checks compare with.
    QVERIFY(ZipUtils::extractZip(kArchive, QStringLiteral("../unpacked")));
    QCOMPARE(contentOf(QStringLiteral("../unpacked/a.ozu")), contentOf(a));
    QCOMPARE(contentOf(QStringLiteral("../unpacked/b.ozu")), contentOf(b));
    reset(m_original);
}

void StoragePower::reset(const QByteArray& archiveBytes)
{
    QFile::remove(kSideFile);
    QFile::remove(kStickFile);
    for (const QString& name : QDir().entryList({QStringLiteral("answer-*")}))
        QFile::remove(name);
    QDir spare(QStringLiteral("../spare"));
    for (const QString& name : spare.entryList(QDir::Files))
        spare.remove(name);
    QVERIFY(write(kArchive, archiveBytes));
}

QByteArray StoragePower::archiveWith(const QStringList& sources)
{
    reset(m_original);
    for (const QString& source : sources)
        if (!ZipUtils::addFile(kArchive, source))
            return {};
    return contentOf(kArchive);
}

FaultyRun StoragePower::run(const QStringList& steps, const QString& plan, const QString& lost)
{
    const QString spare = QDir::cleanPath(QDir::current().filePath(QStringLiteral("../spare")));
    return FaultyRun::of(steps, QDir::currentPath(), spare, plan, lost);
}

int StoragePower::callsOf(const QStringList& steps)
{
    const FaultyRun untouched = run(steps);
    const bool passed = !untouched.killed && untouched.answers == QString(steps.size(), u'y');
    reset(m_original);
    return passed ? untouched.calls : 0;
}

/// Whole, with every addition that was acknowledged, and at most the one that was under way.
void StoragePower::checkAfterKill(const FaultyRun& run)
{
    QVERIFY(run.killed);
    QVERIFY(!run.answers.contains(u'n'));
    QVERIFY(ArchiveAddition::recover());
    const QByteArray held = contentOf(kArchive);
    const QString acknowledged = run.answers.leftJustified(2, u'n');
    checkHeld(acknowledged, firstRefusedKept(acknowledged));
    QVERIFY(ArchiveAddition::recover());
    QCOMPARE(contentOf(kArchive), held);
}

void StoragePower::checkHeld(const QString& one, const QString& other)
{
    const QByteArray held = contentOf(kArchive);
    QVERIFY(held == m_expected.value(one) || held == m_expected.value(other));
}

void StoragePower::additionSurvivesALoss_data()
{
    addRows("lost", {"none", "all", "last", "first", "torn"});
}

void StoragePower::additionSurvivesALoss()
{
    QFETCH(QString, lost);
    const int calls = callsOf(kTwoAdditions);
    QVERIFY(calls > 20);
    for (int at = 1; at <= calls; ++at) {
        reset(m_original);
        checkAfterKill(run(kTwoAdditions, QStringLiteral("%1:kill").arg(at), lost));
        if (QTest::currentTestFailed())
            QFAIL(qPrintable(QStringLiteral("at call %1").arg(at)));
    }
}

void StoragePower::additionUndoesAFailure_data()
{
    addRows("fault", {"eio", "enospc", "short"});
}

void StoragePower::additionUndoesAFailure()
{
    QFETCH(QString, fault);
    const int calls = callsOf(kTwoAdditions);
    int refused = 0;
    for (int at = 1; at <= calls; ++at) {
        reset(m_original);
        const FaultyRun once = run(kTwoAdditions, QStringLiteral("%1:%2").arg(at).arg(fault));
        QVERIFY(!once.killed);
        QVERIFY2(contentOf(kArchive) == m_expected.value(once.answers), qPrintable(once.answers));
        refused += once.answers.count(u'n');

        // A storage that fails from here on cannot put the archive back; the next start does, or
        // finds the addition that could be neither confirmed nor undone whole.
        reset(m_original);
        const FaultyRun lasting = run(kTwoAdditions, QStringLiteral("%1+:%2").arg(at).arg(fault));
        QVERIFY(ArchiveAddition::recover());
        checkHeld(lasting.answers, firstRefusedKept(lasting.answers));
        if (QTest::currentTestFailed())
            QFAIL(qPrintable(QStringLiteral("from call %1 on").arg(at)));
    }
    // Half a write is followed by the other half; anything else costs the addition that it hits.
    QVERIFY(fault == QLatin1String("short") ? refused == 0 : refused > calls * 3 / 4);
}

void StoragePower::liesAreFoundOut_data()
{
    addRows("plan", {"r%1:zeros", "r%1:flip", "r%1:stale", "%1:drop"});
}

/// One read gives something else than what is there, or one write does not arrive: whatever was
/// acknowledged all the same is in the archive, byte for byte.
void StoragePower::liesAreFoundOut()
{
    QFETCH(QString, plan);
    const FaultyRun honest = run(kTwoAdditions);
    const int lies = plan.startsWith(u'r') ? honest.reads : honest.calls;
    int refused = 0;
    for (int at = 1; at <= lies; ++at) {
        reset(m_original);
        const FaultyRun once = run(kTwoAdditions, plan.arg(at));
        QVERIFY(ArchiveAddition::recover());
        QVERIFY2(contentOf(kArchive) == m_expected.value(once.answers), qPrintable(plan.arg(at)));
        refused += once.answers.count(u'n');
    }
    // Some of the reads see what was there before in any case, and some of the writes are repeated.
    QVERIFY2(refused > lies / 4, qPrintable(QStringLiteral("%1 of %2").arg(refused).arg(lies)));
    // A storage that lies from the start lets nothing be erased.
    reset(m_original);
    QVERIFY(!run(kTwoAdditions, plan.arg(QStringLiteral("1+"))).answers.contains(u'y'));
}

void StoragePower::killWhilePuttingBack_data()
{
    addRows("lost", {"none", "all"});
}

void StoragePower::killWhilePuttingBack()
{
    QFETCH(QString, lost);
    const QStringList one = kTwoAdditions.mid(0, 1);
    const int calls = callsOf(one);
    for (int at = 1; at <= calls; ++at) {
        for (int later = at + 1;; ++later) {
            reset(m_original);
            const FaultyRun twice =
                run(one, QStringLiteral("%1:eio,%2:kill").arg(at).arg(later), lost);
            if (!twice.killed)
                break;
            QVERIFY(ArchiveAddition::recover());
            const QByteArray held = contentOf(kArchive);
            const bool isOld = held == m_original;
            const bool isNew = held == m_expected.value(QStringLiteral("yn"));
            QVERIFY(isNew || (isOld && !twice.answers.startsWith(u'y')));
            QVERIFY(isOld || !twice.answers.startsWith(u'n'));
        }
    }
}

void StoragePower::recoveryMayBeCutShort_data()
{
    addRows("lost", {"none", "all", "first", "torn"});
}

void StoragePower::recoveryMayBeCutShort()
{
    QFETCH(QString, lost);
    const QStringList recovery = {QStringLiteral("recover")};
    const int calls = callsOf(kTwoAdditions.mid(0, 1));
    int cuts = 0;
    for (int at = 1; at <= calls; ++at) {
        reset(m_original);
        const FaultyRun first =
            run(kTwoAdditions.mid(0, 1), QStringLiteral("%1:kill").arg(at), lost);
        const QByteArray left = contentOf(kArchive);
        const bool sideFileLeft = QFile::exists(kSideFile);
        const QByteArray side = contentOf(kSideFile);
        for (int cut = 1;; ++cut) {
            reset(left);
            QVERIFY(!sideFileLeft || write(kSideFile, side));
            const FaultyRun recovered = run(recovery, QStringLiteral("%1:kill").arg(cut), lost);
            checkAfterKill(first);
            cuts += recovered.killed ? 1 : 0;
            if (!recovered.killed || !recovered.answers.isEmpty())
                break;
        }
    }
    QVERIFY(cuts > calls);
}

void StoragePower::recoveryLeavesTheRestAlone()
{
    const FaultyRun killed = run(kTwoAdditions, QStringLiteral("6:kill"));
    QVERIFY(killed.killed);
    const QByteArray side = contentOf(kSideFile);
    QVERIFY(!side.isEmpty());
    const QByteArray changed = contentOf(kArchive);
    // A side file that is not whole was cut short before the archive was touched.
    for (int bytes = 0; bytes < side.size(); bytes += 7) {
        QVERIFY(write(kSideFile, side.left(bytes)));
        QVERIFY(ArchiveAddition::recover());
        QCOMPARE(contentOf(kArchive), changed);
    }
    // An archive that is gone needs nothing; a new one in its place is not written over.
    QVERIFY(write(kSideFile, side));
    QVERIFY(QFile::remove(kArchive));
    QVERIFY(ArchiveAddition::recover());
    QVERIFY(!QFile::exists(kArchive));
    QVERIFY(write(kSideFile, side));
    QVERIFY(ZipUtils::createZip(kArchive));
    QVERIFY(ArchiveAddition::recover());
    QCOMPARE(contentOf(kArchive).size(), 22);
}

/// The disk with the archives may be mounted later, and a bad block be read the next time.
void StoragePower::recordWaitsForItsArchive()
{
    for (int at = 1; !ZipUtils::listFiles(kArchive).isEmpty(); ++at) {
        reset(m_original);
        QVERIFY(run(kTwoAdditions, QStringLiteral("%1:kill").arg(at)).killed);
    }
    const QByteArray changed = contentOf(kArchive);
    QVERIFY(QDir().rename(QStringLiteral("datas"), QStringLiteral("disk")));
    QVERIFY(QDir().mkdir(QStringLiteral("datas")) && ArchiveAddition::recover());
    QVERIFY(QDir().rmdir(QStringLiteral("datas")) &&
            QDir().rename(QStringLiteral("disk"), QStringLiteral("datas")));
    // Unreadable, it blocks nothing; what it was to put back goes no further.
    QCOMPARE(
        run({QStringLiteral("recover"), kTwoAdditions.at(0)}, QStringLiteral("r1:eio")).answers,
        QStringLiteral("yn"));
    QCOMPARE(contentOf(kArchive), changed);
    QVERIFY(ArchiveAddition::recover());
    QCOMPARE(contentOf(kArchive), m_original);
    QVERIFY(QDir().entryList({QStringLiteral("addition.undo.*")}).isEmpty());
}

/// One that was set aside, and can be read again when the power has gone in a later addition.
void StoragePower::olderRecordTakesNothingBack()
{
    // The longer one last: it is written in more than one step.
    const QStringList additions = {kTwoAdditions.at(1), kTwoAdditions.at(0)};
    run(additions.mid(0, 1), QStringLiteral("5:kill"));
    const QByteArray older = contentOf(kSideFile);
    int cut = 0;
    for (int at = callsOf(additions); at > 0; --at) {
        reset(m_original);
        const FaultyRun killed = run(additions, QStringLiteral("%1:kill").arg(at));
        if (killed.answers != QLatin1String("y") || !ZipUtils::listFiles(kArchive).isEmpty())
            continue;
        ++cut;
        QVERIFY(write(kSideFile + QStringLiteral(".unreadable"), older));
        QVERIFY(ArchiveAddition::recover());
        QCOMPARE(contentOf(kArchive), m_expected.value(QStringLiteral("ny")));
    }
    QVERIFY(cut > 0);
}

void StoragePower::newArchiveIsNeverHalfMade_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("lost");
    for (const char* lost : {"none", "all", "last", "first", "torn"})
        QTest::newRow(lost) << QStringLiteral("kill") << QString::fromLatin1(lost);
    for (const char* fault : {"eio", "enospc", "short"})
        QTest::newRow(fault) << QString::fromLatin1(fault) << QStringLiteral("none");
}

void StoragePower::newArchiveIsNeverHalfMade()
{
    QFETCH(QString, fault);
    QFETCH(QString, lost);
    const QStringList creation = {QStringLiteral("create:%1").arg(kArchive)};
    const QByteArray empty = QByteArray("PK\x05\x06") + QByteArray(18, '\0');
    const int calls = callsOf(creation);
    QVERIFY(calls > 4);
    for (int at = 1; at <= calls; ++at) {
        reset(m_original);
        const FaultyRun created = run(creation, QStringLiteral("%1:%2").arg(at).arg(fault), lost);
        const QByteArray held = contentOf(kArchive);
        QVERIFY(held == empty || held == m_original);
        QVERIFY(held == empty || !created.answers.startsWith(u'y'));
        QCOMPARE(QDir(QStringLiteral("datas")).entryList(QDir::Files).size(), 1);
    }
}

void StoragePower::archivesStayWhenNoneCanBeBegun()
{
    const QDir datas(QStringLiteral("datas"));
    for (int number = 1; number < 25; ++number) {
        const QString name = QStringLiteral("%1.cvx").arg(number, 10, 10, QLatin1Char('0'));
        QVERIFY(QFile::copy(kArchive, datas.filePath(name)));
    }
    const QString last = datas.filePath(QStringLiteral("0000000024.cvx"));
    QVERIFY(ZipUtils::addFile(last, QStringLiteral("tmp/a.ozu")));
    const QStringList before = datas.entryList(QDir::Files);

    const QVector<QString> often(30, QStringLiteral("begin"));
    QCOMPARE(run(often.toList(), QStringLiteral("1+:folder")).answers, QString(30, u'n'));
    QCOMPARE(datas.entryList(QDir::Files), before);

    QCOMPARE(run({QStringLiteral("begin")}).answers, QStringLiteral("y"));
    QCOMPARE(ZipUtils::listFiles(QStringLiteral("datas/0000000025.cvx")),
             QStringList(QStringLiteral("infos.log")));
    QCOMPARE(datas.entryList(QDir::Files).mid(0, 25), before);
}

/// Nor does a station that loses its power each time it begins one take a number each time.
void StoragePower::archivesStayWhenEachStartIsCut()
{
    QVERIFY(ZipUtils::addFile(kArchive, QStringLiteral("tmp/a.ozu")));
    const QStringList begin = {QStringLiteral("begin")};
    const int calls = callsOf(begin);
    for (int at = 1; at <= calls; ++at) {
        run(begin, QStringLiteral("%1:kill").arg(at));
        const QStringList names = QDir(QStringLiteral("datas")).entryList(QDir::Files);
        QVERIFY(names.size() <= 2);
        QVERIFY(names.size() == 1 || ZipUtils::listFiles(QStringLiteral("datas/") + names.last()) ==
                                         QStringList(QStringLiteral("infos.log")));
    }
}

/// Where its own blocks take nothing any more, an archive is put back elsewhere on the storage.
void StoragePower::badBlocksAreLeftBehind()
{
    for (int at = 1; !ZipUtils::listFiles(kArchive).isEmpty(); ++at) {
        reset(m_original);
        QVERIFY(run(kTwoAdditions, QStringLiteral("%1:kill").arg(at)).killed);
    }
    QCOMPARE(run({QStringLiteral("recover")}, QStringLiteral("1+:bad")).answers,
             QStringLiteral("y"));
    QCOMPARE(contentOf(kArchive), m_original);
    QCOMPARE(QDir(QStringLiteral("datas")).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

/// A folder that cannot be listed is not an empty one.
void StoragePower::unlistedArchivesStay()
{
    const QByteArray before = contentOf(kArchive);
    const QString listing = QStringLiteral("1+:listing");
    QCOMPARE(run({QStringLiteral("begin"), QStringLiteral("begin")}, listing).answers,
             QStringLiteral("nn"));
    QCOMPARE(QDir(QStringLiteral("datas")).entryList(QDir::Files).size(), 1);
    QCOMPARE(contentOf(kArchive), before);
}

void StoragePower::copyIsWholeOrNone_data()
{
    newArchiveIsNeverHalfMade_data();
}

void StoragePower::copyIsWholeOrNone()
{
    QFETCH(QString, fault);
    QFETCH(QString, lost);
    const QStringList copying = {QStringLiteral("copy:tmp/a.ozu:%1").arg(kStickFile)};
    const QByteArray source = contentOf(QStringLiteral("tmp/a.ozu"));
    const int calls = callsOf(copying);
    QVERIFY(calls > 4);
    for (int at = 1; at <= calls; ++at) {
        reset(m_original);
        const FaultyRun copied = run(copying, QStringLiteral("%1:%2").arg(at).arg(fault), lost);
        QVERIFY(!copied.answers.startsWith(u'y') || contentOf(kStickFile) == source);
        QVERIFY(copied.killed || copied.answers.startsWith(u'y') || !QFile::exists(kStickFile));
    }
}

QTEST_GUILESS_MAIN(StoragePower)

#include "power.moc"
