#include "machine/tool.h"

#include "bench/badinput.h"

#include <QProcess>

QByteArray runTool(const QString& program, const QStringList& arguments, const QByteArray& input)
{
    QProcess tool;
    tool.start(program, arguments);
    tool.write(input);
    tool.closeWriteChannel();
    if (!tool.waitForFinished(-1))
        throw BadInput(
            QStringLiteral("%1: %2 (kmod, e2fsprogs, fdisk, dosfstools and mtools have the "
                           "machine's tools)")
                .arg(program, tool.errorString()));
    if (tool.exitStatus() != QProcess::NormalExit || tool.exitCode() != 0)
        throw BadInput(
            QStringLiteral("%1: %2").arg(program, QString::fromUtf8(tool.readAllStandardError())));
    return tool.readAllStandardOutput();
}
