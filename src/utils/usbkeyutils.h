#pragma once

#include "system/childprocess.h"
#include "system/stationpaths.h"

#include <QByteArray>
#include <QString>

#include <chrono>

/// The USB stick: found, mounted and unmounted by the system's own tools, and written to. Owned by
/// the controller and used on its thread, which it blocks for up to 30 s a tool. Failures are the
/// codes below, or false; logged is only a stick that does not hold what was written to it.
class UsbKeyUtils
{
public:
    explicit UsbKeyUtils(QString mountPoint = stationpaths::kUsbKey,
                         std::chrono::milliseconds toolLimit = ChildProcess::kUsualLimit);
    UsbKeyUtils(const UsbKeyUtils&) = delete;
    UsbKeyUtils(UsbKeyUtils&&) = delete;
    UsbKeyUtils& operator=(const UsbKeyUtils&) = delete;
    UsbKeyUtils& operator=(UsbKeyUtils&&) = delete;
    ~UsbKeyUtils();

    /// 0 mounted, -1 no stick, -2 `blkid` not finished, -3 `mount` not finished, -4 `mount`
    /// crashed.
    int mountKey();

    /// 0 not mounted any more, -3 `umount` not finished, -4 `umount` crashed.
    int umountKey();

    enum class Entry {
        None,  ///< nothing of that name, or no stick is attached
        File,  ///< a plain file of the stick's own
        Other, ///< a folder, a link, a device: nothing to read or to obey
    };
    /// What the stick holds under that name at its root.
    Entry lookUp(const QString& name) const;

    QString pathOf(const QString& name) const { return m_usb_path + QLatin1Char('/') + name; }

    enum class Copy {
        Done,       ///< flushed, and read back from the stick as it is in `source`
        NoRoom,     ///< nothing was changed
        Unreadable, ///< `source` is at fault, and not the stick
        Failed,
    };
    /// Where the stick has room for both, an older file of that name stays until the new one is
    /// whole. Else it goes first, and a failure leaves none.
    Copy copyWhole(const QString& source, const QString& name);

    /// As copyWhole, of bytes that no file holds; false when it is not done.
    bool writeWhole(const QByteArray& content, const QString& name);

    /// True when copyWhole is done.
    bool copyFileToUsbKey(const QString& source, const QString& name);

    bool mounted() const { return m_mounted; }

private:
    int runMountTool(const QString& program, const QStringList& arguments);
    bool isAttached() const;
    qint64 roomBytes() const;

    QString m_usb_path;
    bool m_mounted = false;
    std::chrono::milliseconds m_tool_limit;
};
