#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

struct ToolOptions
{
    QByteArray input;
    QString folder;          ///< where it works; empty: where the bench does
    int worst_exit_code = 0; ///< by which all is still well
};

struct ToolResult
{
    QByteArray output;
    QByteArray errors; ///< what it said beside that
};

/// Runs one of the system's programs to its end. Throws BadInput with what it said when it cannot
/// be run or fails.
ToolResult runTool(const QString& program, const QStringList& arguments,
                   const ToolOptions& options = {});
