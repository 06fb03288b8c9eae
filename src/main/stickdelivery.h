#pragma once

#include "main/progress.h"

#include <QString>

class LocalArchives;
class UsbKeyUtils;

/// Brings to a mounted stick what the station owes: the current archive as "QVX_DATAS.cvx", then
/// each earlier one, oldest first, under a name of its own. Lives on the controller's stack and
/// thread for one look at the stick.
class StickDelivery
{
public:
    /// `serial`: 12 hexadecimal digits, or none where the station has no number.
    StickDelivery(UsbKeyUtils& usbkey, LocalArchives& archives, QString serial);

    /// Copied: nothing is owed any more. NoUsbKey: all that had room was copied, an earlier archive
    /// has none. CopyFailed: the current one has none, an archive cannot be read, or a copy is not
    /// what it should be.
    SyncCode run();

private:
    enum class Outcome { Done, NoRoom, Unreadable, Failed };
    Outcome deliverCurrent();
    Outcome deliverEarlier(const QString& archive);
    Outcome copyBeside(const QString& source);
    Outcome copy(const QString& source, const QString& name);
    bool isOnStick(const QString& source, const QString& name) const;
    QString nameOf(const QString& archive, const QString& suffix = {}) const;

    UsbKeyUtils& m_usbkey;
    LocalArchives& m_archives;
    QString m_serial;
};
