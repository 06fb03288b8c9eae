#include "support/testfiles.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>

#include <algorithm>

namespace testfiles {

bool write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeTool(const QString& path, const QByteArray& script)
{
    return write(path, "#!/bin/sh\n" + script + '\n') &&
           QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

bool useTools(const QString& folder,
              std::initializer_list<std::pair<const char*, const char*>> scripts)
{
    qputenv("PATH", folder.toUtf8() + ':' + qgetenv("PATH"));
    return QDir().mkpath(folder) &&
           std::all_of(scripts.begin(), scripts.end(), [&](const auto& tool) {
               return writeTool(folder + QLatin1Char('/') + QLatin1String(tool.first), tool.second);
           });
}

bool mountDisk(const QString& folder)
{
    return QDir().mkpath(folder) &&
           QProcess::execute(QStringLiteral("mount"),
                             {QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("disk"),
                              folder}) == 0;
}

QByteArray noise(quint32 seed, int bytes)
{
    QByteArray content(bytes, Qt::Uninitialized);
    QRandomGenerator generator(seed);
    for (char& byte : content)
        byte = char(generator.bounded(256));
    return content;
}

QString archiveName(int number)
{
    return QStringLiteral("%1.cvx").arg(number, 10, 10, QLatin1Char('0'));
}

} // namespace testfiles
