#include "utils/usbkeyutils.h"

#include "storage/storagefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <utility>

namespace {

constexpr int kNoKey = -1;
constexpr int kSearchNotFinished = -2;
constexpr int kToolNotFinished = -3;
constexpr int kToolCrashed = -4;

// "/dev/sda1"; a longer name is cut deliberately.
constexpr int kDeviceNameLength = 9;

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

bool UsbKeyUtils::copyFileToUsbKey(const QString& source, const QString& name)
{
    if (!isAttached() || !QFile::exists(source))
        return false;
    const QString target = pathOf(name);
    QFile::remove(target);
    return storage::copyFile(source, target);
}

bool UsbKeyUtils::copyFileToUsbKey(const QString& source)
{
    return copyFileToUsbKey(source, source.section(QLatin1Char('/'), -1));
}

bool UsbKeyUtils::isUsbKeyPlugged()
{
    const auto search = ChildProcess::run(QStringLiteral("blkid"), {}, m_tool_limit);
    return search.end != ChildProcess::End::NotFinished &&
           QString::fromUtf8(search.output).contains(diskPrefix());
}

/// A mount that refused counts as done, so the kernel is asked: else the station's own disk would
/// pass for the stick.
bool UsbKeyUtils::isAttached() const
{
    return m_mounted &&
           QStorageInfo(m_usb_path).rootPath() == QFileInfo(m_usb_path).canonicalFilePath();
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
