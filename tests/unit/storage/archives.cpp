// New archives and copies of archives when the storage fails or loses its power at any one call.
#include "support/faultystation.h"
#include "support/testfiles.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QFile>
#include <QtTest>

#include <functional>
#include <optional>
#include <utility>

using testfiles::archiveName;
using testfiles::contentOf;

namespace {

const QString& kArchive = FaultyStation::kArchive;
const QString kRecording = QStringLiteral("tmp/a.ozu");

} // namespace

class StorageArchives : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void newArchiveIsNeverHalfMade();
    void archivesStayWhenNoneCanBeBegun();
    void archivesStayWhenEachStartIsCut();
    void unlistedArchivesStay();
    void copyIsWholeOrNone();

private:
    void atEachCall(const QString& step, const std::function<void(const FaultyRun&)>& look);

    std::optional<FaultyStation> m_station;
};

void StorageArchives::init()
{
    m_station.emplace();
    QVERIFY(testfiles::write(kRecording, testfiles::noise(1, 300000)));
}

/// What a fault, or a loss of power, at each call of the step leaves behind.
void StorageArchives::atEachCall(const QString& step,
                                 const std::function<void(const FaultyRun&)>& look)
{
    const int calls = m_station->callsOf({step});
    QVERIFY(calls > 4);
    for (const auto& [fault, lost] : {std::pair("kill", "none"),
                                      {"kill", "all"},
                                      {"kill", "last"},
                                      {"kill", "first"},
                                      {"kill", "torn"},
                                      {"eio", "none"},
                                      {"enospc", "none"},
                                      {"short", "none"}})
        for (int at = 1; at <= calls; ++at) {
            m_station->reset();
            look(FaultyStation::run({step},
                                    QStringLiteral("%1:%2").arg(at).arg(QLatin1String(fault)),
                                    QLatin1String(lost)));
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(QStringLiteral("call %1: %2, lost %3")
                                     .arg(at)
                                     .arg(QLatin1String(fault), QLatin1String(lost))));
        }
}

void StorageArchives::newArchiveIsNeverHalfMade()
{
    const QByteArray empty = QByteArray("PK\x05\x06") + QByteArray(18, '\0');
    atEachCall(QStringLiteral("create:%1").arg(kArchive), [&](const FaultyRun& created) {
        const QByteArray held = contentOf(kArchive);
        QVERIFY(held == empty || held == m_station->original());
        QVERIFY(held == empty || !created.answers.startsWith(u'y'));
        QCOMPARE(QDir(QStringLiteral("datas")).entryList(QDir::Files).size(), 1);
    });
}

void StorageArchives::archivesStayWhenNoneCanBeBegun()
{
    const QDir datas(QStringLiteral("datas"));
    for (int number = 1; number < 25; ++number) {
        const QString name = archiveName(number);
        QVERIFY(QFile::copy(kArchive, datas.filePath(name)));
    }
    const QString last = datas.filePath(QStringLiteral("0000000024.cvx"));
    QVERIFY(ZipUtils::addFile(last, kRecording));
    const QStringList before = datas.entryList(QDir::Files);

    const QVector<QString> often(30, QStringLiteral("begin"));
    QCOMPARE(FaultyStation::run(often.toList(), QStringLiteral("1+:folder")).answers,
             QString(30, u'n'));
    QCOMPARE(datas.entryList(QDir::Files), before);

    QCOMPARE(FaultyStation::run({QStringLiteral("begin")}).answers, QStringLiteral("y"));
    QCOMPARE(ZipUtils::listFiles(QStringLiteral("datas/0000000025.cvx")),
             QStringList(QStringLiteral("infos.log")));
    QCOMPARE(datas.entryList(QDir::Files).mid(0, 25), before);
}

/// Nor does a station that loses its power each time it begins one take a number each time.
void StorageArchives::archivesStayWhenEachStartIsCut()
{
    QVERIFY(ZipUtils::addFile(kArchive, kRecording));
    const QStringList begin = {QStringLiteral("begin")};
    const int calls = m_station->callsOf(begin);
    for (int at = 1; at <= calls; ++at) {
        FaultyStation::run(begin, QStringLiteral("%1:kill").arg(at));
        const QStringList names = QDir(QStringLiteral("datas")).entryList(QDir::Files);
        QVERIFY(names.size() <= 2);
        QVERIFY(names.size() == 1 || ZipUtils::listFiles(QStringLiteral("datas/") + names.last()) ==
                                         QStringList(QStringLiteral("infos.log")));
    }
}

/// A folder that cannot be listed is not an empty one.
void StorageArchives::unlistedArchivesStay()
{
    const QByteArray before = contentOf(kArchive);
    const QString listing = QStringLiteral("1+:listing");
    QCOMPARE(
        FaultyStation::run({QStringLiteral("begin"), QStringLiteral("begin")}, listing).answers,
        QStringLiteral("nn"));
    QCOMPARE(QDir(QStringLiteral("datas")).entryList(QDir::Files).size(), 1);
    QCOMPARE(contentOf(kArchive), before);
}

void StorageArchives::copyIsWholeOrNone()
{
    const QByteArray source = contentOf(kRecording);
    atEachCall(QStringLiteral("copy:%1:%2").arg(kRecording, FaultyStation::kStickFile),
               [&](const FaultyRun& copied) {
                   QVERIFY(!copied.answers.startsWith(u'y') ||
                           contentOf(FaultyStation::kStickFile) == source);
                   QVERIFY(copied.killed || copied.answers.startsWith(u'y') ||
                           !QFile::exists(FaultyStation::kStickFile));
               });
}

QTEST_GUILESS_MAIN(StorageArchives)
#include "archives.moc"
