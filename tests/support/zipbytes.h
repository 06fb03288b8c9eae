#pragma once

#include <QByteArray>
#include <QVector>

/// Zip archives made byte for byte, also such as no zip program makes. Each field that is not given
/// is what an honest writer puts there.
namespace zipbytes {

struct Entry
{
    QByteArray name;
    QByteArray content;
    bool deflated = false;
    quint16 flags = 0;
    quint32 unix_mode = 0100644;
    /// Where they differ from the content's own.
    qint64 claimed_bytes = -1;
    qint64 claimed_crc = -1;
};

QByteArray archive(const QVector<Entry>& entries);

} // namespace zipbytes
