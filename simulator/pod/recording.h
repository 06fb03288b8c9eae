#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <functional>

/// A made-up recording: its bytes follow from the seed and their offset alone, so that any part of
/// any size can be made again at any time and none is kept in memory. Immutable and reentrant.
class Recording
{
public:
    Recording(quint64 seed, quint32 size_bytes)
        : m_seed(seed)
        , m_size_bytes(size_bytes)
    {
    }

    quint32 sizeBytes() const { return m_size_bytes; }
    /// The range must lie inside the recording.
    void read(quint32 offset_bytes, char* out, int length_bytes) const;
    /// All of it, a block after the other, for as long as `take` returns true; whether it always
    /// did.
    bool eachBlock(const std::function<bool(const char* data, int length_bytes)>& take) const;
    QByteArray sha256() const;

private:
    quint64 word(quint64 index) const;

    quint64 m_seed;
    quint32 m_size_bytes;
};
