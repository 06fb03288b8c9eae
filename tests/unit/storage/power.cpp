// What an archive holds when the storage fails, lies, or loses its power at any one call of an
// addition or of its recovery.
#include "archive/archiveaddition.h"
#include "support/faultystation.h"
#include "support/testfiles.h"
#include "system/checksum.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QtTest>

#include <array>
#include <optional>

using testfiles::contentOf;
using testfiles::write;

namespace {

const QString& kArchive = FaultyStation::kArchive;
const QString& kSideFile = FaultyStation::kSideFile;

/// Of what came from two pods: longer than one block, and no shorter once deflated; and shorter.
const std::array<QByteArray, 2> kRecordings = {testfiles::noise(1, 300000),
                                               testfiles::noise(2, 5000)};

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

} // namespace

class StoragePower : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void additionSurvivesALoss();
    void additionUndoesAFailure();
    void liesAreFoundOut();
    void killWhilePuttingBack();
    void recoveryMayBeCutShort();
    void recoveryLeavesTheRestAlone();
    void recordWaitsForItsArchive();
    void olderRecordTakesNothingBack();
    void badBlocksAreLeftBehind();

private:
    QByteArray archiveWith(const QStringList& sources);
    void checkAfterKill(const FaultyRun& run);
    void checkHeld(const QString& one, const QString& other);

    std::optional<FaultyStation> m_station;
    /// The archive after those of the two additions that are marked y.
    QMap<QString, QByteArray> m_expected;
};

void StoragePower::init()
{
    m_station.emplace();
    const QString a = QStringLiteral("tmp/a.ozu");
    const QString b = QStringLiteral("tmp/b.ozu");
    QVERIFY(write(a, kRecordings[0]) && write(b, kRecordings[1]));
    m_expected = {{QStringLiteral("nn"), m_station->original()},
                  {QStringLiteral("yn"), archiveWith({a})},
                  {QStringLiteral("ny"), archiveWith({b})},
                  {QStringLiteral("yy"), archiveWith({a, b})}};
    // The yardstick itself: an archive with everything that the other checks compare with.
    QVERIFY(ZipUtils::extractZip(kArchive, QStringLiteral("../unpacked")));
    QCOMPARE(contentOf(QStringLiteral("../unpacked/a.ozu")), kRecordings[0]);
    QCOMPARE(contentOf(QStringLiteral("../unpacked/b.ozu")), kRecordings[1]);
    m_station->reset();
}

QByteArray StoragePower::archiveWith(const QStringList& sources)
{
    m_station->reset();
    for (const QString& source : sources)
        if (!ZipUtils::addFile(kArchive, source))
            return {};
    return contentOf(kArchive);
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

void StoragePower::additionSurvivesALoss()
{
    for (const QString& lost :
         {QStringLiteral("none"), QStringLiteral("all"), QStringLiteral("last"),
          QStringLiteral("first"), QStringLiteral("torn")}) {
        const int calls = m_station->callsOf(kTwoAdditions);
        QVERIFY(calls > 20);
        for (int at = 1; at <= calls; ++at) {
            m_station->reset();
            checkAfterKill(
                FaultyStation::run(kTwoAdditions, QStringLiteral("%1:kill").arg(at), lost));
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(QStringLiteral("at call %1, lost %2").arg(at).arg(lost)));
        }
    }
}

void StoragePower::additionUndoesAFailure()
{
    for (const QString& fault :
         {QStringLiteral("eio"), QStringLiteral("enospc"), QStringLiteral("short")}) {
        const int calls = m_station->callsOf(kTwoAdditions);
        int refused = 0;
        for (int at = 1; at <= calls; ++at) {
            m_station->reset();
            const FaultyRun once =
                FaultyStation::run(kTwoAdditions, QStringLiteral("%1:%2").arg(at).arg(fault));
            QVERIFY(!once.killed);
            QVERIFY2(contentOf(kArchive) == m_expected.value(once.answers),
                     qPrintable(once.answers));
            refused += once.answers.count(u'n');

            // A storage that fails from here on cannot put the archive back; the next start does,
            // or finds the addition that could be neither confirmed nor undone whole.
            m_station->reset();
            const FaultyRun lasting =
                FaultyStation::run(kTwoAdditions, QStringLiteral("%1+:%2").arg(at).arg(fault));
            QVERIFY(ArchiveAddition::recover());
            checkHeld(lasting.answers, firstRefusedKept(lasting.answers));
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(QStringLiteral("%1 from call %2 on").arg(fault).arg(at)));
        }
        // Half a write is followed by the other half; anything else costs the addition that it
        // hits.
        QVERIFY(fault == QLatin1String("short") ? refused == 0 : refused > calls * 3 / 4);
    }
}

/// One read gives something else than what is there, or one write does not arrive: whatever was
/// acknowledged all the same is in the archive, byte for byte.
void StoragePower::liesAreFoundOut()
{
    for (const QString& plan : {QStringLiteral("r%1:zeros"), QStringLiteral("r%1:flip"),
                                QStringLiteral("r%1:stale"), QStringLiteral("%1:drop")}) {
        m_station->reset();
        const FaultyRun honest = FaultyStation::run(kTwoAdditions);
        const int lies = plan.startsWith(u'r') ? honest.reads : honest.calls;
        int refused = 0;
        for (int at = 1; at <= lies; ++at) {
            m_station->reset();
            const FaultyRun once = FaultyStation::run(kTwoAdditions, plan.arg(at));
            QVERIFY(ArchiveAddition::recover());
            QVERIFY2(contentOf(kArchive) == m_expected.value(once.answers),
                     qPrintable(plan.arg(at)));
            refused += once.answers.count(u'n');
        }
        // Some of the reads see what was there before in any case, and some of the writes are
        // repeated.
        QVERIFY2(refused > lies / 4, qPrintable(QStringLiteral("%1 of %2").arg(refused).arg(lies)));
        // A storage that lies from the start lets nothing be erased.
        m_station->reset();
        QVERIFY(!FaultyStation::run(kTwoAdditions, plan.arg(QStringLiteral("1+")))
                     .answers.contains(u'y'));
    }
}

void StoragePower::killWhilePuttingBack()
{
    for (const QString& lost : {QStringLiteral("none"), QStringLiteral("all")}) {
        const QStringList one = kTwoAdditions.mid(0, 1);
        const int calls = m_station->callsOf(one);
        for (int at = 1; at <= calls; ++at) {
            for (int later = at + 1;; ++later) {
                m_station->reset();
                const FaultyRun twice = FaultyStation::run(
                    one, QStringLiteral("%1:eio,%2:kill").arg(at).arg(later), lost);
                if (!twice.killed)
                    break;
                QVERIFY(ArchiveAddition::recover());
                const QByteArray held = contentOf(kArchive);
                const bool isOld = held == m_station->original();
                const bool isNew = held == m_expected.value(QStringLiteral("yn"));
                QVERIFY(isNew || (isOld && !twice.answers.startsWith(u'y')));
                QVERIFY(isOld || !twice.answers.startsWith(u'n'));
            }
        }
    }
}

void StoragePower::recoveryMayBeCutShort()
{
    for (const QString& lost : {QStringLiteral("none"), QStringLiteral("all"),
                                QStringLiteral("first"), QStringLiteral("torn")}) {
        const QStringList recovery = {QStringLiteral("recover")};
        const int calls = m_station->callsOf(kTwoAdditions.mid(0, 1));
        int cuts = 0;
        for (int at = 1; at <= calls; ++at) {
            m_station->reset();
            const FaultyRun first = FaultyStation::run(kTwoAdditions.mid(0, 1),
                                                       QStringLiteral("%1:kill").arg(at), lost);
            const QByteArray left = contentOf(kArchive);
            const bool sideFileLeft = QFile::exists(kSideFile);
            const QByteArray side = contentOf(kSideFile);
            for (int cut = 1;; ++cut) {
                m_station->reset(left);
                QVERIFY(!sideFileLeft || write(kSideFile, side));
                const FaultyRun recovered =
                    FaultyStation::run(recovery, QStringLiteral("%1:kill").arg(cut), lost);
                checkAfterKill(first);
                cuts += recovered.killed ? 1 : 0;
                if (!recovered.killed || !recovered.answers.isEmpty())
                    break;
            }
        }
        QVERIFY(cuts > calls);
    }
}

void StoragePower::recoveryLeavesTheRestAlone()
{
    QVERIFY(m_station->cutInTheMiddle(kTwoAdditions));
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
    QVERIFY(m_station->cutInTheMiddle(kTwoAdditions));
    const QByteArray changed = contentOf(kArchive);
    QVERIFY(QDir().rename(QStringLiteral("datas"), QStringLiteral("disk")));
    QVERIFY(QDir().mkdir(QStringLiteral("datas")) && ArchiveAddition::recover());
    QVERIFY(QDir().rmdir(QStringLiteral("datas")) &&
            QDir().rename(QStringLiteral("disk"), QStringLiteral("datas")));
    // Unreadable, it blocks nothing; what it was to put back goes no further.
    QCOMPARE(FaultyStation::run({QStringLiteral("recover"), kTwoAdditions.at(0)},
                                QStringLiteral("r1:eio"))
                 .answers,
             QStringLiteral("yn"));
    QCOMPARE(contentOf(kArchive), changed);
    QVERIFY(ArchiveAddition::recover());
    QCOMPARE(contentOf(kArchive), m_station->original());
    QVERIFY(QDir().entryList({QStringLiteral("addition.undo.*")}).isEmpty());
}

/// One that was set aside, and can be read again when the power has gone in a later addition.
void StoragePower::olderRecordTakesNothingBack()
{
    // The longer one last: it is written in more than one step.
    const QStringList additions = {kTwoAdditions.at(1), kTwoAdditions.at(0)};
    QByteArray older;
    for (int at = m_station->callsOf(additions); at > 0 && !older.startsWith("CVXUNDO"); --at) {
        m_station->reset();
        FaultyStation::run(additions.mid(0, 1), QStringLiteral("%1:kill").arg(at));
        older = contentOf(kSideFile);
    }
    QVERIFY(older.startsWith("CVXUNDO"));
    int cut = 0;
    for (int at = m_station->callsOf(additions); at > 0; --at) {
        m_station->reset();
        const FaultyRun killed = FaultyStation::run(additions, QStringLiteral("%1:kill").arg(at));
        if (killed.answers != QLatin1String("y") || !ZipUtils::listFiles(kArchive).isEmpty())
            continue;
        ++cut;
        QVERIFY(write(kSideFile + QStringLiteral(".unreadable"), older));
        QVERIFY(ArchiveAddition::recover());
        QCOMPARE(contentOf(kArchive), m_expected.value(QStringLiteral("ny")));
    }
    QVERIFY(cut > 0);
}

/// Where its own blocks take nothing any more, an archive is put back elsewhere on the storage.
void StoragePower::badBlocksAreLeftBehind()
{
    QVERIFY(m_station->cutInTheMiddle(kTwoAdditions));
    QCOMPARE(FaultyStation::run({QStringLiteral("recover")}, QStringLiteral("1+:bad")).answers,
             QStringLiteral("y"));
    QCOMPARE(contentOf(kArchive), m_station->original());
    QCOMPARE(QDir(QStringLiteral("datas")).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

QTEST_GUILESS_MAIN(StoragePower)

#include "power.moc"
