#include "corvanelogger.h"

#include "shell/keptlog.h"

#include <QByteArray>

#include <cstdio>

namespace {

QByteArray prefixOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return QByteArrayLiteral("[DEBUG]: ");
    case QtInfoMsg:
        return QByteArrayLiteral("[INFO]: ");
    case QtWarningMsg:
        return QByteArrayLiteral("[WARNING]: ");
    case QtCriticalMsg:
        return QByteArrayLiteral("[CRITICAL]: ");
    case QtFatalMsg:
        return QByteArrayLiteral("[FATAL]: ");
    }
    return {};
}

} // namespace

void corvaneLogger(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message)
{
    const QByteArray prefix = prefixOf(type);
    if (prefix.isEmpty())
        return;

    const QByteArray line = prefix + message.toUtf8() + '\n';
    // Kept first: what has been read must be in the report, however soon the program ends.
    if (KeptLog* const kept = KeptLog::current())
        kept->add(line);
    // One write a line: stdio locks per call, so lines of thirty workers do not mix.
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
    std::fflush(stdout);
}
