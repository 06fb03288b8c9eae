#pragma once

#include <QByteArray>

/// A CRC-32 that grows with the bytes it is given: the one that a zip has for each of its entries.
/// A value, reentrant.
class Checksum
{
public:
    void add(const char* data, qint64 bytes);
    void add(const QByteArray& data) { add(data.constData(), data.size()); }
    /// As if all that `other` was given were added.
    void add(const Checksum& other);

    quint32 value() const { return m_value; }

private:
    quint32 m_value = 0;
    qint64 m_bytes = 0;
};
