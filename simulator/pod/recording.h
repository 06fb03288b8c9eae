#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <functional>

/// What a recording is of.
enum class RecordingContent {
    Noise,  ///< twelve random bits in sixteen: as much to compress as in the field, but no matches
    Motion, ///< an accelerometer's, at rest and in motion: twelve bytes a sample, its time among
            ///< them
};

/// A made-up recording: its bytes follow from the seed and their offset alone, so that any part of
/// any size can be made again at any time and none is kept in memory. Immutable and reentrant.
class Recording
{
public:
    Recording(quint64 seed, quint32 size_bytes, RecordingContent content = RecordingContent::Noise)
        : m_seed(seed)
        , m_size_bytes(size_bytes)
        , m_content(content)
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
    quint64 m_seed;
    quint32 m_size_bytes;
    RecordingContent m_content;
};
