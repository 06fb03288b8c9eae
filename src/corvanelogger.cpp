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

    // One write a line: stdio locks per call, so lines of thirty workers do not mix.
    const QByteArray line = prefix + message.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
    std::fflush(stdout);
    if (KeptLog* const kept = KeptLog::current())
        kept->add(line);
}
