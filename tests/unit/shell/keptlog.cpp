#include "shell/keptlog.h"

#include "support/testfiles.h"
#include "system/stationpaths.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <array>
#include <thread>

namespace {

constexpr int kThreads = 4;
constexpr int kLinesEach = 20'000;

QByteArray lineOf(int thread, int number)
{
    return "[DEBUG]: thread " + QByteArray::number(thread) + " line " + QByteArray::number(number) +
           " of some length, as the station's are\n";
}

bool isOurs(const QByteArray& line)
{
    static const QRegularExpression whole(
        QStringLiteral("^(\\[DEBUG\\]: thread \\d line \\d+ of some length, as the station's "
                       "are|Started at .*|)$"));
    return whole.match(QString::fromUtf8(line)).hasMatch();
}

} // namespace

/// In a folder of its own, as the station's.
class ShellKeptLog : public QObject
{
    Q_OBJECT

private slots:
    void init() { QVERIFY(m_folder.isValid() && QDir::setCurrent(m_folder.path())); }
    void cleanup();

    void outlivesStarts();
    void isBoundedAndWholeWhateverThreads();
    void fullOneMakesWay();
    void refusedFileDoesNoHarm();

private:
    QTemporaryDir m_folder;
};

void ShellKeptLog::cleanup()
{
    QFile::remove(stationpaths::kLog);
    QDir(stationpaths::kLog).removeRecursively();
    QFile::remove(stationpaths::kLogBefore);
}

void ShellKeptLog::outlivesStarts()
{
    QCOMPARE(KeptLog::current(), nullptr);
    for (const char* const line : {"first start\n", "second start\n"}) {
        KeptLog log;
        QCOMPARE(KeptLog::current(), &log);
        log.add(line);
    }
    QCOMPARE(KeptLog::current(), nullptr);
    const QByteArray lines = KeptLog::lines();
    QVERIFY(lines.indexOf("first start\n") > lines.indexOf("Started at 20"));
    QVERIFY(lines.indexOf("second start\n") > lines.indexOf("first start\n"));
}

void ShellKeptLog::isBoundedAndWholeWhateverThreads()
{
    KeptLog log;
    std::array<std::thread, kThreads> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.at(i) = std::thread([&log, i] {
            for (int number = 0; number < kLinesEach; ++number)
                log.add(lineOf(i, number));
        });
    for (std::thread& thread : threads)
        thread.join();
    log.add(lineOf(0, kLinesEach));

    const QByteArray lines = KeptLog::lines();
    QVERIFY(lines.endsWith(lineOf(0, kLinesEach)));
    for (const QString& file : {stationpaths::kLog, stationpaths::kLogBefore})
        QVERIFY2(QFileInfo(file).size() < KeptLog::kMostFileBytes + qint64(kThreads) * 1024,
                 qPrintable(QString::number(QFileInfo(file).size())));
    QVERIFY(lines.size() > KeptLog::kMostFileBytes / 2);
    for (const QByteArray& line : lines.split('\n'))
        QVERIFY2(isOurs(line), line.constData());
}

void ShellKeptLog::fullOneMakesWay()
{
    QVERIFY(testfiles::write(stationpaths::kLog, QByteArray(KeptLog::kMostFileBytes, 'x') + '\n'));
    KeptLog log;
    log.add("still kept\n");
    QVERIFY(KeptLog::lines().endsWith("still kept\n"));
    QVERIFY(testfiles::contentOf(stationpaths::kLogBefore).endsWith("x\n"));
}

void ShellKeptLog::refusedFileDoesNoHarm()
{
    QVERIFY(QDir().mkpath(stationpaths::kLog + QStringLiteral("/folder")));
    KeptLog log;
    log.add("goes nowhere\n");
    QCOMPARE(KeptLog::lines(), QByteArray());
}

QTEST_GUILESS_MAIN(ShellKeptLog)
#include "keptlog.moc"
