#pragma once

#include <QString>

class BenchFolder;

/// The disk that is "/opt" in a machine: an ext4 file system in a file, which outlives the power.
/// Lives as long as the site, owned by it. Throws BadInput when it cannot be made or read.
class OptDisk
{
public:
    /// The image is made now, from the folder's content. It takes no more room than is written.
    OptDisk(const BenchFolder& folder, QString image, quint64 size_bytes = kUsualBytes);

    static constexpr quint64 kUsualBytes = quint64(2) << 30;

    QString image() const { return m_image; }
    /// Brings the folder up to what is on the disk, or leaves it as it is when it throws; the
    /// machine must be off.
    void unpack() const;

    /// The station's and the launcher's folder, as the next mount finds them: the image is mended
    /// by its journal.
    static void extract(const QString& image, const QString& folder);

private:
    const BenchFolder& m_folder;
    QString m_image;
};
