#include "main/stationreport.h"

#include "archive/owedarchives.h"
#include "shell/keptlog.h"
#include "system/childprocess.h"
#include "system/stationpaths.h"
#include "system/storagefile.h"
#include "utils/ziputils.h"

#include <QBuffer>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStorageInfo>
#include <quazip/quazip.h>
#include <quazip/quazipfile.h>

namespace {

constexpr int kMostListedBytes = 1024 * 1024;
constexpr int kMostKernelBytes = 256 * 1024;
constexpr qint64 kMostInfosBytes = qint64(64) * 1024;

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(kMostInfosBytes) : QByteArray();
}

/// Every archive, and the names of its entries as far as there is room for them.
QByteArray archivesText(const OwedArchives& owed)
{
    const auto names = storage::listFiles(stationpaths::kArchives);
    if (!names)
        return QByteArrayLiteral("The archives cannot be listed.\n");
    QByteArray text;
    for (const QString& name : *names) {
        const QString path = stationpaths::kArchives + QLatin1Char('/') + name;
        const QStringList entries = ZipUtils::listFiles(path);
        text += QStringLiteral("%1: %2 bytes, %3 entries%4\n")
                    .arg(name)
                    .arg(QFileInfo(path).size())
                    .arg(entries.size())
                    .arg(owed.contains(name) ? QStringLiteral(", on no stick yet") : QString())
                    .toUtf8();
        for (int i = 0; i < entries.size() && text.size() < kMostListedBytes; ++i)
            text += "  " + entries.at(i).toUtf8() + '\n';
    }
    return text;
}

QByteArray owedText(const OwedArchives& owed)
{
    return owed.names().isEmpty() ? QByteArrayLiteral("Nothing.\n")
                                  : owed.names().join(QLatin1Char('\n')).toUtf8() + '\n';
}

QByteArray systemText()
{
    const QStorageInfo disk(QStringLiteral("."));
    return QStringLiteral("Time: %1\nSeconds since power was given: %2\n"
                          "Disk: %3 bytes free of %4, %5%6\n")
        .arg(QDateTime::currentDateTimeUtc().toString(Qt::ISODate),
             QString::fromLatin1(contentOf(QStringLiteral("/proc/uptime"))).section(u' ', 0, 0))
        .arg(disk.bytesAvailable())
        .arg(disk.bytesTotal())
        .arg(QString::fromLatin1(disk.fileSystemType()),
             disk.isReadOnly() ? QStringLiteral(", read-only") : QString())
        .toUtf8();
}

/// The newest lines about buses and disks.
QByteArray kernelText()
{
    static const QRegularExpression wanted(
        QStringLiteral("usb|xhci|ehci|hub|scsi|sd[a-z]|mmc|ext4|fat|i2c|i/o error"),
        QRegularExpression::CaseInsensitiveOption);
    const auto messages = ChildProcess::run(QStringLiteral("dmesg"), {}).output;
    if (messages.isEmpty())
        return QByteArrayLiteral("The kernel does not let the station read its messages.\n");
    return QString::fromUtf8(messages)
        .split(QLatin1Char('\n'))
        .filter(wanted)
        .join(QLatin1Char('\n'))
        .toUtf8()
        .right(kMostKernelBytes);
}

void add(QuaZip& zip, const char* name, const QByteArray& content)
{
    QuaZipFile entry(&zip);
    if (entry.open(QIODevice::WriteOnly, QuaZipNewInfo(QLatin1String(name))))
        entry.write(content);
}

} // namespace

QByteArray stationreport::make(const OwedArchives& owed)
{
    QBuffer buffer;
    QuaZip zip(&buffer);
    if (!zip.open(QuaZip::mdCreate))
        return {};
    add(zip, "infos.log", contentOf(stationpaths::kInfos));
    add(zip, "station.log", KeptLog::lines());
    add(zip, "archives.txt", archivesText(owed));
    add(zip, "owed.txt", owedText(owed));
    add(zip, "system.txt", systemText());
    add(zip, "usb.txt", ChildProcess::run(QStringLiteral("lsusb"), {QStringLiteral("-t")}).output);
    add(zip, "kernel.txt", kernelText());
    zip.close();
    return zip.getZipError() == ZIP_OK ? buffer.data() : QByteArray();
}
