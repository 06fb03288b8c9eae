#include "common/files.h"

#include "common/badinput.h"

#include <QFile>

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush())
        throw BadInput(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
}
