#include "archives/archivehole.h"

#include "common/badinput.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>

void putHoleInFront(const QString& archive, quint64 hole_bytes)
{
    QFile from(archive);
    QFile grown(QFileInfo(archive).path() + QStringLiteral("/.grown")); // none that a station lists
    const bool made = from.open(QIODevice::ReadOnly) && grown.open(QIODevice::WriteOnly) &&
                      grown.seek(static_cast<qint64>(hole_bytes)) &&
                      grown.write(from.readAll()) == from.size() && grown.flush();
    if (!made || std::rename(QFile::encodeName(grown.fileName()).constData(),
                             QFile::encodeName(archive).constData()) != 0)
        throw BadInput(QStringLiteral("cannot grow %1: %2").arg(archive, grown.errorString()));
}
