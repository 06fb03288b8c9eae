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

const QMessageLogContext kNowhere;

} // namespace

class LoggerTest : public QObject
{
    Q_OBJECT

private slots:
    void line();
    void linesOfManyThreadsStayWhole();
};

void LoggerTest::line()
{
    const QMessageLogContext located("pod.cpp", 12, "void Pod::tasks()", "default");
    const auto written = [&located](int type, const char* message, const char* expected) {
        for (const QMessageLogContext* context : {&kNowhere, &located})
            QCOMPARE(outputOf([&] {
                         corvaneLogger(QtMsgType(type), *context, QString::fromUtf8(message));
                     }),
                     QByteArray(expected));
    };
    written(QtDebugMsg, "Pods to sync: 3", "[DEBUG]: Pods to sync: 3\n");
    written(QtInfoMsg, "Pods to sync: 3", "[INFO]: Pods to sync: 3\n");
    written(QtWarningMsg, "Pods to sync: 3", "[WARNING]: Pods to sync: 3\n");
    written(QtCriticalMsg, "Pods to sync: 3", "[CRITICAL]: Pods to sync: 3\n");
    written(QtFatalMsg, "it returns", "[FATAL]: it returns\n");
    written(5, "of no type", "");
    written(QtInfoMsg, "", "[INFO]: \n");
    written(QtDebugMsg, "cl\xc3\xa9 %1", "[DEBUG]: cl\xc3\xa9 %1\n");
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
