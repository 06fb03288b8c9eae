#include "downloader/downloader.h"

#include "downloader/downloadexception.h"
#include "downloader/podprotocol.h"
#include "main/pod.h"
#include "main/progress.h"
#include "system/checksum.h"
#include "system/interruptiblesleep.h"
#include "system/sha256.h"
#include "utils/libusbutils.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QThread>

#include <algorithm>
#include <array>
#include <fstream>

using namespace std::chrono_literals;

namespace {

constexpr int kDigestBytes = 32;
constexpr uint32_t kChunkBytes = 16384;
constexpr int kAttempts = 3;
constexpr qint64 kSpaceReserveBytes = qint64(16) * 1024 * 1024;
constexpr auto kPauseAfterWrongDigest = 15s;

constexpr auto kNamePollInterval = 100ms;

[[noreturn]] void fail(const char* message, DownloadException::Code code)
{
    throw DownloadException(QLatin1String(message), code);
}

[[noreturn]] void failInterrupted()
{
    fail("Download interrupted", DownloadException::Interrupted);
}

[[noreturn]] void failToOpen()
{
    fail("Failed to open file", DownloadException::FileFailed);
}

bool send(Pod& pod, uint8_t command)
{
    return LibUsbUtils().writeData(pod.getDevHandle(), &command, 1, podprotocol::kTimeoutMs) >= 1;
}

bool readAck(Pod& pod)
{
    uint8_t ack = 0;
    return LibUsbUtils().readData(pod.getDevHandle(), &ack, 1, podprotocol::kTimeoutMs) >= 1 &&
           ack == podprotocol::kAck;
}

/// The pod's data file, truncated when it is opened. Every write is checked: a full disk must never
/// leave a short file behind a good digest.
class DataFile
{
public:
    explicit DataFile(const QString& path)
        : m_path(path)
        , m_stream(path.toStdString(), std::ios::out | std::ios::binary | std::ios::trunc)
    {
        if (!m_stream.is_open() || !m_stream.good())
            failToOpen();
    }

    void write(const uint8_t* bytes, uint32_t length_bytes)
    {
        if (!m_stream.write(reinterpret_cast<const char*>(bytes), length_bytes))
            giveUp();
    }

    void close()
    {
        m_stream.close();
        if (m_stream.fail())
            giveUp();
    }

private:
    /// What was written is of no use, and the other pods need the space.
    [[noreturn]] void giveUp() const
    {
        QFile::resize(m_path, 0);
        fail("Failed to write file", DownloadException::FileFailed);
    }

    QString m_path;
    std::ofstream m_stream;
};

int percentRead(uint32_t size_bytes, uint32_t remaining_bytes)
{
    const double remaining = static_cast<double>(remaining_bytes) / size_bytes;
    return static_cast<int>(100.0 - remaining * 100.0);
}

/// Tells the screen of each percent once: every word to it wakes another thread.
class ShownProgress
{
public:
    explicit ShownProgress(Pod& pod)
        : m_pod(pod)
    {
    }

    void show(int percent)
    {
        if (percent == m_percent)
            return;
        m_percent = percent;
        emit m_pod.setSyncProgress(m_pod.getIdx(), percent);
    }

private:
    Pod& m_pod;
    int m_percent = -1;
};

/// Copies the data bytes into the file; returns their digest, and leaves their checksum with the
/// pod's ticket: what the archive is given must be what the digest was taken of.
QByteArray copyData(Pod& pod, uint32_t size_bytes, DataFile& file)
{
    Sha256 digest;
    Checksum checksum;
    ShownProgress progress(pod);
    std::array<uint8_t, kChunkBytes> buffer{};
    uint32_t remaining = size_bytes;
    while (remaining != 0) {
        if (QThread::currentThread()->isInterruptionRequested())
            failInterrupted();
        const uint32_t chunk = std::min(remaining, kChunkBytes);
        if (LibUsbUtils().readData(pod.getDevHandle(), buffer.data(), static_cast<int>(chunk),
                                   podprotocol::kTimeoutMs) < 1)
            fail("Failed to read pod datas", DownloadException::DataNotRead);
        // A short read deliberately counts as whole: the digest is what tells.
        remaining -= chunk;
        file.write(buffer.data(), chunk);
        const char* const bytes = reinterpret_cast<const char*>(buffer.data());
        digest.add(bytes, chunk);
        checksum.add(bytes, chunk);
        progress.show(percentRead(size_bytes, remaining));
    }
    file.close();
    pod.ticket()->data_crc32 = checksum.value();
    qDebug() << "Done ! Byte remaining:" << remaining;
    return digest.result();
}

/// Pods of one name take turns, or the archive would be given the other one's bytes.
void claimDataFile(Pod& pod)
{
    auto result = pod.claimDataFile();
    while (result == DataFileClaim::Result::Taken) {
        if (!sleepUnlessInterrupted(kNamePollInterval))
            failInterrupted();
        result = pod.claimDataFile();
    }
    if (result == DataFileClaim::Result::Impossible)
        failToOpen();
}

/// A pod that announces more than there is room for must not fill the disk for the others.
void requireSpaceFor(const Pod& pod, uint32_t size_bytes)
{
    const QStorageInfo storage(QFileInfo(pod.getOzuFilePath()).path());
    if (storage.isValid() && storage.bytesAvailable() < qint64{size_bytes} + kSpaceReserveBytes)
        fail("Not enough space for pod datas", DownloadException::FileFailed);
}

QByteArray readDigest(Pod& pod)
{
    QByteArray received(kDigestBytes, '\0');
    LibUsbUtils().readData(pod.getDevHandle(), received, podprotocol::kTimeoutMs);
    return received;
}

} // namespace

uint32_t uint32_big_decode(const uint8_t* bytes)
{
    return (uint32_t{bytes[0]} << 24) | (uint32_t{bytes[1]} << 16) | (uint32_t{bytes[2]} << 8) |
           uint32_t{bytes[3]};
}

bool Downloader::downloadPodData(Pod& pod)
{
    emit pod.syncInProgress(false);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        sendReadCommand(pod);
        const uint32_t size_bytes = readSize(pod);
        // A pod that announces exactly 512 bytes deliberately counts as empty too.
        if (size_bytes == 0 || size_bytes == 512) {
            dropEmptyAnswer(pod, size_bytes);
            return false;
        }
        if (readOut(pod, size_bytes))
            return true;
        if (!sleepUnlessInterrupted(kPauseAfterWrongDigest))
            failInterrupted();
    }
    // Deliberately true: a recording that the pod itself cannot read back right is still kept.
    qWarning().noquote() << "Kept although its digest was wrong three times:"
                         << pod.getOzuFilePath() << "on pod at index" << pod.getIdx();
    emit pod.setSyncProgress(pod.getIdx(), progress::kWrongDigest);
    return true;
}

void Downloader::sendReadCommand(Pod& pod)
{
    if (!send(pod, podprotocol::kReadData))
        fail("Failed to write read data command", DownloadException::CommandNotWritten);
    if (!readAck(pod))
        fail("Failed to get ack (Read datas)", DownloadException::NoAck);
}

uint32_t Downloader::readSize(Pod& pod)
{
    std::array<uint8_t, 4> size{};
    // As in the data, a short read deliberately counts as whole; what did not come is 0.
    if (LibUsbUtils().readData(pod.getDevHandle(), size.data(), size.size(),
                               podprotocol::kTimeoutMs) < 1)
        fail("Failed to get size", DownloadException::NoSize);
    return uint32_big_decode(size.data());
}

void Downloader::dropEmptyAnswer(Pod& pod, uint32_t size_bytes)
{
    std::array<uint8_t, 512 + kDigestBytes> dropped{};
    LibUsbUtils().readData(pod.getDevHandle(), dropped.data(),
                           static_cast<int>(size_bytes) + kDigestBytes, podprotocol::kTimeoutMs);
    emit pod.syncInProgress(true);
}

bool Downloader::readOut(Pod& pod, uint32_t size_bytes)
{
    claimDataFile(pod);
    // Opened first: what it held of an earlier read-out must not count as taken.
    DataFile file(pod.getOzuFilePath());
    requireSpaceFor(pod, size_bytes);
    const QByteArray calculated = copyData(pod, size_bytes, file);

    const QByteArray received = readDigest(pod);
    qDebug().noquote() << "Hash received:" << received.toHex().toUpper();
    qDebug().noquote() << "Hash calculated:" << calculated.toHex().toUpper();
    if (received != calculated)
        return false;

    qDebug() << "Hash correct!";
    emit pod.setSyncProgress(pod.getIdx(), 100);
    return true;
}

void Downloader::erasePod(Pod& pod)
{
    if (!send(pod, podprotocol::kErase))
        fail("Failed to write erase data", DownloadException::EraseNotWritten);
    if (!readAck(pod))
        fail("Failed to get ack (Erase pod)", DownloadException::NoAck);
    qInfo() << "Erase successful from pod at index:" << pod.getIdx();
}
