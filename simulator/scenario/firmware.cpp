#include "scenario/firmware.h"

#include "common/badinput.h"
#include "common/files.h"
#include "pod/initpacket.h"
#include "pod/recording.h"
#include "pod/replyforecast.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <quazip/JlCompress.h>

namespace {

// Of the largest images, one in three hundred has no 0xDB in its replies.
constexpr int kMostTries = 10'000;
constexpr char kErasedFlash = '\xFF';

QByteArray imageFrom(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw BadInput(QStringLiteral("%1: %2").arg(path, file.errorString()));
    QByteArray image = file.read(kFlashBytes + 1);
    if (image.isEmpty() || image.size() > static_cast<int>(kFlashBytes))
        throw BadInput(
            QStringLiteral("%1 is no firmware: 1 to %2 bytes are").arg(path).arg(kFlashBytes));
    return image;
}

QByteArray madeUpImage(quint32 size_bytes, quint64 seed)
{
    if (size_bytes == 0 || size_bytes > kFlashBytes)
        throw BadInput(QStringLiteral("a firmware has 1 to %1 bytes").arg(kFlashBytes));
    QByteArray image(static_cast<int>(size_bytes), '\0');
    Recording(seed, size_bytes).read(0, image.data(), image.size());
    return image;
}

QByteArray manifestOf(const Firmware& firmware)
{
    const QJsonObject files{{QStringLiteral("bin_file"), firmware.name + QStringLiteral(".bin")},
                            {QStringLiteral("dat_file"), firmware.name + QStringLiteral(".dat")}};
    const QJsonObject manifest{{QStringLiteral("application"), files}};
    return QJsonDocument(QJsonObject{{QStringLiteral("manifest"), manifest}}).toJson();
}

/// From a usual pod, and from one with awkward objects unless a reply is to hold it anyway.
bool repliesAsPlanned(const Firmware& firmware, bool escaped)
{
    ObjectLimits odd;
    odd.data_bytes = kOddObjectBytes;
    const bool usual = repliesHoldEscape(firmware.init_packet, firmware.image, {});
    return usual == escaped &&
           (escaped || !repliesHoldEscape(firmware.init_packet, firmware.image, odd));
}

} // namespace

QByteArray Firmware::sha256() const
{
    return InitPacket::describing(image).image_sha256;
}

/// Padding goes in front, where it changes every checksum: behind the image only the last one.
Firmware makeFirmware(const FirmwarePlan& plan, quint64 seed)
{
    const bool made_up = plan.file.isEmpty();
    const QByteArray given = made_up ? QByteArray() : imageFrom(plan.file);
    const QString name = QFileInfo(plan.file).completeBaseName();
    for (int attempt = 0; attempt < kMostTries; ++attempt) {
        Firmware firmware;
        firmware.name = name.isEmpty() ? QStringLiteral("firmware") : name;
        firmware.padding_bytes = made_up ? 0 : attempt;
        firmware.image = made_up ? madeUpImage(plan.size_bytes,
                                               seed * kMostTries + static_cast<quint64>(attempt))
                                 : QByteArray(attempt, kErasedFlash) + given;
        if (firmware.image.size() > static_cast<int>(kFlashBytes))
            break;
        firmware.init_packet =
            InitPacket::describing(firmware.image, "made by the bench").toBytes();
        if (repliesAsPlanned(firmware, plan.escaped_reply))
            return firmware;
    }
    throw BadInput(QStringLiteral("no padding gives %1 the replies that are wanted").arg(name));
}

void writePackage(const Firmware& firmware, const QString& path)
{
    const QTemporaryDir folder;
    const QStringList files{folder.filePath(QStringLiteral("manifest.json")),
                            folder.filePath(firmware.name + QStringLiteral(".bin")),
                            folder.filePath(firmware.name + QStringLiteral(".dat"))};
    writeFile(files[0], manifestOf(firmware));
    writeFile(files[1], firmware.image);
    writeFile(files[2], firmware.init_packet);
    if (!JlCompress::compressFiles(path, files))
        throw BadInput(QStringLiteral("cannot write %1").arg(path));
}
