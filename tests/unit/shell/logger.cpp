#include "corvanelogger.h"
#include "system/uniquefd.h"

#include <QFile>
#include <QTemporaryFile>
#include <QtTest>

#include <cstdio>
#include <functional>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/// What `write` puts on standard output.
QByteArray outputOf(const std::function<void()>& write)
{
    QTemporaryFile file;
    if (!file.open())
        return "no temporary file";
    std::fflush(stdout);
    const UniqueFd terminal(::dup(STDOUT_FILENO));
    ::dup2(file.handle(), STDOUT_FILENO);
    write();
    // No flush here: the handler has to have done it.
    ::dup2(terminal.get(), STDOUT_FILENO);
    file.seek(0);
    return file.readAll();
}

} // namespace

class LoggerTest : public QObject
{
    Q_OBJECT

private slots:
    void line_data();
    void line();
    void linesOfManyThreadsStayWhole();
};

void LoggerTest::line_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QByteArray>("written");

    const QString text = QStringLiteral("Pods to sync: 3");
    QTest::newRow("debug") << int(QtDebugMsg) << text << QByteArray("[DEBUG]: Pods to sync: 3\n");
    QTest::newRow("info") << int(QtInfoMsg) << text << QByteArray("[INFO]: Pods to sync: 3\n");
    QTest::newRow("warning") << int(QtWarningMsg) << text
                             << QByteArray("[WARNING]: Pods to sync: 3\n");
    QTest::newRow("critical") << int(QtCriticalMsg) << text
                              << QByteArray("[CRITICAL]: Pods to sync: 3\n");
    QTest::newRow("fatal returns")
        << int(QtFatalMsg) << text << QByteArray("[FATAL]: Pods to sync: 3\n");
    QTest::newRow("unknown type") << 5 << text << QByteArray();
    QTest::newRow("empty message") << int(QtInfoMsg) << QString() << QByteArray("[INFO]: \n");
    QTest::newRow("UTF-8") << int(QtDebugMsg) << QStringLiteral(u"cl\u00e9 %1")
                           << QByteArray("[DEBUG]: cl\xc3\xa9 %1\n");
}

void LoggerTest::line()
{
    QFETCH(int, type);
    QFETCH(QString, message);

    const QByteArray plain = outputOf(
        [&] { corvaneLogger(static_cast<QtMsgType>(type), QMessageLogContext(), message); });
    const QByteArray located = outputOf([&] {
        const QMessageLogContext context("pod.cpp", 12, "void Pod::tasks()", "default");
        corvaneLogger(static_cast<QtMsgType>(type), context, message);
    });

    QTEST(plain, "written");
    QTEST(located, "written");
}

void LoggerTest::linesOfManyThreadsStayWhole()
{
    constexpr int kThreadCount = 8;
    constexpr int kLineCount = 500;
    const QByteArray written = outputOf([] {
        std::vector<std::thread> threads;
        threads.reserve(kThreadCount);
        for (int t = 0; t < kThreadCount; ++t)
            threads.emplace_back([t] {
                const QString text(200, QChar(u'a' + t));
                for (int i = 0; i < kLineCount; ++i)
                    corvaneLogger(QtInfoMsg, QMessageLogContext(), text);
            });
        for (std::thread& thread : threads)
            thread.join();
    });

    QList<QByteArray> lines = written.split('\n');
    QCOMPARE(lines.takeLast(), QByteArray());
    QCOMPARE(lines.size(), kThreadCount * kLineCount);
    for (const QByteArray& text : qAsConst(lines))
        QCOMPARE(text, "[INFO]: " + QByteArray(200, text.back()));
}

QTEST_APPLESS_MAIN(LoggerTest)
#include "logger.moc"
