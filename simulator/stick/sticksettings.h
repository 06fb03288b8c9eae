#pragma once

#include <QByteArray>
#include <QStringList>

/// What kind of stick it is. The bench writes it into the mark that stands for an inserted stick,
/// the stick's server reads it there.
struct StickSettings
{
    quint64 size_bytes = 0;       ///< 0: as much as the folder's disk has
    quint32 bytes_per_second = 0; ///< 0: no limit
    quint64 pull_at_byte = 0;     ///< of what is written during one mount; 0: never
    /// Of each file, what is written from this byte on is taken, synced and gone: the stick says
    /// that it is larger than it is. 0: never.
    quint64 loses_from_byte = 0;
    quint64 flips_at_byte = 0; ///< of each file, this byte is kept with a wrong bit; 0: never
    QStringList unreadable;    ///< files in its root whose content cannot be read

    /// What is read back is not what was written.
    bool lies() const { return loses_from_byte != 0 || flips_at_byte != 0; }

    QByteArray toBytes() const;
    static StickSettings fromBytes(const QByteArray& bytes);
};
