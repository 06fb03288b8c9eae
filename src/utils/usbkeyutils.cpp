#include "utils/usbkeyutils.h"

#include "system/readback.h"
#include "system/storagefile.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>
#include <fcntl.h>
#include <utility>

namespace {

constexpr int kNoKey = -1;
constexpr int kSearchNotFinished = -2;
constexpr int kToolNotFinished = -3;
constexpr int kToolCrashed = -4;

// "/dev/sda1"; a longer name is cut deliberately.
constexpr int kDeviceNameLength = 9;

/// One for all names: what a copy left that was cut short goes with the next, whichever that is.
const QString kDraft = QStringLiteral(".corvane.new");

QString diskPrefix()
{
    return QStringLiteral("/dev/sd");
}

} // namespace

UsbKeyUtils::UsbKeyUtils(QString mountPoint, std::chrono::milliseconds toolLimit)
    : m_usb_path(std::move(mountPoint))
    , m_tool_limit(toolLimit)
{
    QDir().mkpath(m_usb_path);
}

UsbKeyUtils::~UsbKeyUtils()
{
    umountKey();
}

int UsbKeyUtils::mountKey()
{
    if (m_mounted)
        return 0;
    const auto search = ChildProcess::run(QStringLiteral("blkid"), {}, m_tool_limit);
    if (search.end == ChildProcess::End::NotFinished)
        return kSearchNotFinished;
    const QString devices = QString::fromUtf8(search.output);
    const int at = devices.indexOf(diskPrefix());
    if (at < 0)
        return kNoKey;
    const QString device = devices.mid(at, kDeviceNameLength);
    const int code = runMountTool(QStringLiteral("mount"), {device, m_usb_path});
    m_mounted = code == 0;
    return code;
}

int UsbKeyUtils::umountKey()
{
    if (!m_mounted)
        return 0;
    const int code = runMountTool(QStringLiteral("umount"), {m_usb_path});
    m_mounted = code != 0;
    return code;
}

UsbKeyUtils::Entry UsbKeyUtils::lookUp(const QString& name) const
{
    const QFileInfo entry(pathOf(name));
    if (!isAttached() || !(entry.exists() || entry.isSymLink()))
        return Entry::None;
    return entry.isFile() && !entry.isSymLink() ? Entry::File : Entry::Other;
}

UsbKeyUtils::Copy UsbKeyUtils::copyWhole(const QString& source, const QString& name)
{
    if (!isAttached())
        return Copy::Failed;
    if (!storage::openRegular(source, O_RDONLY))
        return Copy::Unreadable;
    const QString target = pathOf(name);
    const QString draft = pathOf(kDraft);
    QFile::remove(draft);
    const qint64 bytes = QFileInfo(source).size();
    const qint64 room_bytes = roomBytes();
    const bool fits_beside = bytes <= room_bytes;
    if (!fits_beside && bytes > room_bytes + QFileInfo(target).size())
        return Copy::NoRoom;
    if (!fits_beside)
        QFile::remove(target);
    const QString& written = fits_beside ? draft : target;
    const storage::CopyEnd end = storage::copyFile(source, written);
    if (end == storage::CopyEnd::NotRead)
        return Copy::Unreadable;
    if (end == storage::CopyEnd::NotWritten)
        return Copy::Failed;
    if (readback::same(source, written) && (!fits_beside || storage::replaceFile(draft, target)))
        return Copy::Done;
    qInfo().noquote() << "The stick does not hold what was copied:" << name;
    QFile::remove(written);
    return Copy::Failed;
}

bool UsbKeyUtils::writeWhole(const QByteArray& content, const QString& name)
{
    const QString draft = pathOf(kDraft);
    if (!isAttached())
        return false;
    QFile::remove(draft);
    const UniqueFd file = storage::createNew(draft);
    const bool done = file && !content.isEmpty() &&
                      storage::writeAll(file.get(), content.constData(), content.size()) &&
                      storage::syncFile(file.get()) && readback::holds(file.get(), 0, content) &&
                      storage::replaceFile(draft, pathOf(name));
    if (!done)
        QFile::remove(draft);
    return done;
}

bool UsbKeyUtils::copyFileToUsbKey(const QString& source, const QString& name)
{
    return copyWhole(source, name) == Copy::Done;
}

/// A mount that refused counts as done, so the kernel is asked: else the station's own disk would
/// pass for the stick.
bool UsbKeyUtils::isAttached() const
{
    return m_mounted &&
           QStorageInfo(m_usb_path).rootPath() == QFileInfo(m_usb_path).canonicalFilePath();
}

/// Without the block that the end of a file leaves half empty.
qint64 UsbKeyUtils::roomBytes() const
{
    const QStorageInfo stick(m_usb_path);
    return std::max<qint64>(0, stick.bytesAvailable() - stick.blockSize());
}

/// The exit code is not looked at: a tool that ran and refused counts as done, deliberately.
int UsbKeyUtils::runMountTool(const QString& program, const QStringList& arguments)
{
    switch (ChildProcess::run(program, arguments, m_tool_limit).end) {
    case ChildProcess::End::Exited:
        return 0;
    case ChildProcess::End::Crashed:
        return kToolCrashed;
    case ChildProcess::End::NotFinished:
        break;
    }
    return kToolNotFinished;
}
