#include "support/writelog.h"

#include "common/badinput.h"

#include <QFile>
#include <QtEndian>

namespace {

// A sector with the log's own head, then for each entry a sector with its head, which holds a
// mark's text too, and the data. All numbers are little endian.
constexpr quint64 kMagic = 0x6A736677736872;
constexpr quint64 kVersion = 1;
/// In which disks are counted, whatever the log's own sectors are.
constexpr qint64 kSectorBytes = 512;

enum Flag : quint64 { Flush = 1, Forced = 2, Discard = 4, Mark = 8, Metadata = 16 };

class LogFile
{
public:
    explicit LogFile(const QString& image)
        : m_file(image)
    {
        if (!m_file.open(QIODevice::ReadOnly))
            fail();
    }

    QByteArray read(qint64 bytes)
    {
        QByteArray got = m_file.read(bytes);
        if (got.size() != bytes)
            fail();
        return got;
    }

    [[noreturn]] void fail() const
    {
        throw BadInput(QStringLiteral("%1 is no log of writes, or not all of it is there")
                           .arg(m_file.fileName()));
    }

private:
    QFile m_file;
};

template <typename Number>
Number numberAt(const QByteArray& head, int offset)
{
    return qFromLittleEndian<Number>(head.constData() + offset);
}

LoggedWrite readEntry(LogFile& log, qint64 head_bytes)
{
    const QByteArray head = log.read(head_bytes);
    const auto flags = numberAt<quint64>(head, 16);
    LoggedWrite write;
    write.offset_bytes = numberAt<qint64>(head, 0) * kSectorBytes;
    write.flush = (flags & Flush) != 0;
    write.forced = (flags & Forced) != 0;
    write.metadata = (flags & Metadata) != 0;
    if ((flags & Mark) != 0)
        write.mark = QString::fromUtf8(head.mid(32, numberAt<int>(head, 24)));
    if ((flags & Discard) == 0)
        write.data = log.read(numberAt<qint64>(head, 8) * kSectorBytes);
    return write;
}

} // namespace

std::vector<LoggedWrite> readWriteLog(const QString& image)
{
    LogFile log(image);
    const QByteArray head = log.read(kSectorBytes);
    const auto entries = numberAt<quint64>(head, 16);
    const auto head_bytes = numberAt<quint32>(head, 24);
    if (numberAt<quint64>(head, 0) != kMagic || numberAt<quint64>(head, 8) != kVersion ||
        head_bytes < kSectorBytes)
        log.fail();
    log.read(head_bytes - kSectorBytes);
    std::vector<LoggedWrite> writes;
    for (quint64 entry = 0; entry < entries; ++entry)
        writes.push_back(readEntry(log, head_bytes));
    return writes;
}
