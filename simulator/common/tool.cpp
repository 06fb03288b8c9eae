#include "common/tool.h"

#include "common/badinput.h"
#include "common/dependentprocess.h"

ToolResult runTool(const QString& program, const QStringList& arguments, const ToolOptions& options)
{
    DependentProcess tool;
    tool.setWorkingDirectory(options.folder);
    tool.start(program, arguments);
    tool.write(options.input);
    tool.closeWriteChannel();
    if (!tool.waitForFinished(-1))
        throw BadInput(QStringLiteral("%1: %2 (scripts/setup installs what the bench needs)")
                           .arg(program, tool.errorString()));
    ToolResult result{tool.readAllStandardOutput(), tool.readAllStandardError()};
    if (tool.exitStatus() != QProcess::NormalExit || tool.exitCode() > options.worst_exit_code)
        throw BadInput(QStringLiteral("%1: %2").arg(program, QString::fromUtf8(result.errors)));
    return result;
}
