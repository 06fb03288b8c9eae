#pragma once

#include <QByteArray>
#include <QString>

#include <initializer_list>
#include <utility>

/// Small files, for tests.
namespace testfiles {

/// In place of what is there.
bool write(const QString& path, const QByteArray& content);

/// Empty when there is no such file.
QByteArray contentOf(const QString& path);

/// A program that the shell runs, to be found on PATH in place of a system's tool.
bool writeTool(const QString& path, const QByteArray& script);

/// Several such, by name, in a folder that comes first on PATH from now on.
bool useTools(const QString& folder,
              std::initializer_list<std::pair<const char*, const char*>> scripts);

/// A file system of its own, which goes with the test's root.
bool mountDisk(const QString& folder);

/// Bytes that no compression makes fewer, the same for the same seed.
QByteArray noise(quint32 seed, int bytes);

/// "0000000007.cvx"
QString archiveName(int number);

} // namespace testfiles
