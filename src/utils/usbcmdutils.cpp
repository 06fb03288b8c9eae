#include "utils/usbcmdutils.h"

#include "utils/storagefile.h"

#include <QDebug>
#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <optional>

namespace {

/// A stranger's file: what is longer holds no count, whatever else it holds.
constexpr qint64 kMaxCommandBytes = 4096;

const QString kDatas = QStringLiteral("datas");

/// Nothing when the file cannot be read or holds no decimal number.
std::optional<int> countIn(const QString& path)
{
    const UniqueFd file = storage::openRegular(path, O_RDONLY | O_NOFOLLOW);
    const qint64 bytes = file ? storage::sizeOf(file.get()) : -1;
    if (bytes > kMaxCommandBytes)
        qWarning().noquote() << path << "holds no count but" << bytes << "bytes";
    const auto content =
        bytes <= kMaxCommandBytes ? storage::readRange(file.get(), 0, bytes) : std::nullopt;
    bool is_number = false;
    const int count = content.value_or(QByteArray()).trimmed().toInt(&is_number);
    return is_number ? std::make_optional(count) : std::nullopt;
}

void removeAll()
{
    qDebug() << "Removing all datas";
    QDir(kDatas).removeRecursively();
    QDir().mkdir(kDatas);
}

void removeOldest(uint count)
{
    QDir datas(kDatas);
    const QStringList names = datas.entryList(QDir::Files, QDir::Name);
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
    const bool consumed = consume(cmdFilePath);
    if (count == 0)
        removeAll();
    else
        removeOldest(count);
    if (consumed)
        qDebug().noquote() << "Removed" << cmdFilePath;
    else
        qWarning().noquote() << "Will be obeyed again at the next start:" << cmdFilePath;
}

bool UsbCmdUtils::consume(const QString& cmdFilePath)
{
    return QFile::remove(cmdFilePath) && storage::syncFolderOf(cmdFilePath);
}
