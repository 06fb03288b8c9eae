#pragma once

#include <QByteArray>
#include <QString>

/// In place of what is there. Throws BadInput when it cannot be written whole.
void writeFile(const QString& path, const QByteArray& content);
