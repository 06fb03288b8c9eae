#pragma once

#include <QByteArray>
#include <QStringList>

/// What kind of stick it is. The bench writes it into the mark that stands for an inserted stick,
/// the stick's server reads it there.
struct StickSettings
{
    quint64 size_bytes = 0;       ///< 0: as much as the folder's disk has
    quint32 bytes_per_second = 0; ///< 0: no limit
    quint64 pull_at_byte = 0;     ///< of what is written while it is mounted once; 0: never
    QStringList unreadable;       ///< files in its root whose content cannot be read

    QByteArray toText() const;
    static StickSettings fromText(const QByteArray& text);
};
