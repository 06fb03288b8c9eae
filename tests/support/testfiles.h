#pragma once

#include <QByteArray>
#include <QString>

/// Small files, for tests.
namespace testfiles {

/// In place of what is there.
bool write(const QString& path, const QByteArray& content);

/// Empty when there is no such file.
QByteArray contentOf(const QString& path);

/// A program that the shell runs, to be found on PATH in place of a system's tool.
bool writeTool(const QString& path, const QByteArray& script);

} // namespace testfiles
