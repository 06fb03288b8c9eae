#include "utils/usbcmdutils.h"

#include "system/stationpaths.h"
#include "system/storagefile.h"

#include <QDebug>
#include <QDir>

#include <algorithm>
#include <fcntl.h>
#include <optional>

namespace {

/// A decimal number between white space, of a file of any length: a stranger's, so only what may
/// belong to the number is kept.
class CountReader
{
public:
    /// False when there is no number, whatever follows.
    bool read(const char* bytes, qint64 length_bytes)
    {
        return std::all_of(bytes, bytes + length_bytes, [this](char byte) { return take(byte); });
    }
    std::optional<int> count() const
    {
        bool is_number = false;
        const int count = m_number.toInt(&is_number);
        return is_number ? std::make_optional(count) : std::nullopt;
    }

private:
    static constexpr int kMostDigits = 32;

    bool take(char byte)
    {
        if (QChar::isSpace(uchar(byte)))
            m_over = !m_number.isEmpty();
        else if (m_over || m_number.size() == kMostDigits)
            return false;
        else
            m_number += byte;
        return true;
    }

    QByteArray m_number;
    bool m_over = false;
};

/// Nothing when the file cannot be read or holds no number.
std::optional<int> countIn(const QString& path)
{
    const UniqueFd file = storage::openRegular(path, O_RDONLY | O_NOFOLLOW);
    CountReader reader;
    QByteArray block(int(storage::kBlockBytes), Qt::Uninitialized);
    qint64 got = -1;
    while (file && (got = storage::readBlock(file.get(), block.data(), block.size())) > 0)
        if (!reader.read(block.constData(), got)) {
            qInfo().noquote() << "Holds no count:" << path << storage::sizeOf(file.get());
            return std::nullopt;
        }
    if (got < 0)
        qWarning().noquote() << "Cannot be read:" << path;
    return got < 0 ? std::nullopt : reader.count();
}

void removeAll()
{
    qDebug() << "Removing all datas";
    QDir(stationpaths::kArchives).removeRecursively();
    storage::makeFolder(stationpaths::kArchives);
}

void removeOldest(uint count)
{
    QDir datas(stationpaths::kArchives);
    const QStringList names = storage::listFiles(stationpaths::kArchives).value_or(QStringList());
    for (int i = 0; i < names.size() && uint(i) < count; ++i) {
        qDebug().noquote() << "Removing" << names.at(i);
        datas.remove(names.at(i));
    }
}

} // namespace

void UsbCmdUtils::cmdEraseDatas(const QString& cmdFilePath)
{
    qDebug().noquote() << "USB CMD \"Erase\" started";
    // Deliberately unsigned: a negative count means every archive.
    const auto count = uint(countIn(cmdFilePath).value_or(0));
    qDebug() << "Number of files to clean:" << count;
    if (!storage::removeFile(cmdFilePath)) {
        qWarning().noquote() << "Cannot be removed, so nothing is erased:" << cmdFilePath;
        return;
    }
    if (count == 0)
        removeAll();
    else
        removeOldest(count);
    qDebug().noquote() << "Removed" << cmdFilePath;
}
