#include "main/stickdelivery.h"

#include "main/localarchives.h"
#include "system/readback.h"
#include "utils/usbkeyutils.h"
#include "utils/ziputils.h"

#include <QDebug>
#include <QFileInfo>

#include <utility>

namespace {

const QString kExportName = QStringLiteral("QVX_DATAS.cvx");

/// The information file alone is nothing to take a stick's recordings away for.
bool holdsRecordings(const QString& archive)
{
    return ZipUtils::listFiles(archive) != QStringList(QStringLiteral("infos.log"));
}

} // namespace

StickDelivery::StickDelivery(UsbKeyUtils& usbkey, LocalArchives& archives, QString serial)
    : m_usbkey(usbkey)
    , m_archives(archives)
    , m_serial(std::move(serial))
{
}

SyncCode StickDelivery::run()
{
    Outcome outcome = deliverCurrent();
    bool failed = outcome != Outcome::Done;
    bool no_room = false;
    for (const QString& archive : m_archives.owedEarlier()) {
        if (outcome == Outcome::Failed) // the stick's fault: the next one would fare no better
            break;
        outcome = deliverEarlier(archive);
        failed = failed || outcome == Outcome::Failed || outcome == Outcome::Unreadable;
        no_room = no_room || outcome == Outcome::NoRoom;
    }
    if (failed)
        return CopyFailed;
    return no_room ? NoUsbKey : Copied;
}

StickDelivery::Outcome StickDelivery::deliverCurrent()
{
    if (!m_archives.owesCurrent())
        return Outcome::Done;
    const QString path = m_archives.currentPath();
    const Outcome outcome = holdsRecordings(path) ? copy(path, kExportName) : Outcome::Done;
    if (outcome == Outcome::Done)
        m_archives.setDelivered(QFileInfo(path).fileName());
    return outcome;
}

StickDelivery::Outcome StickDelivery::deliverEarlier(const QString& archive)
{
    const QString path = LocalArchives::pathOf(archive);
    const Outcome outcome = holdsRecordings(path) ? copyBeside(path) : Outcome::Done;
    if (outcome == Outcome::Done)
        m_archives.setDelivered(archive);
    return outcome;
}

/// Whatever else is on the stick stays as it is: it may be all that is left of something.
StickDelivery::Outcome StickDelivery::copyBeside(const QString& source)
{
    QString name = nameOf(source);
    for (int n = 1; m_usbkey.lookUp(name) != UsbKeyUtils::Entry::None; ++n) {
        if (isOnStick(source, name))
            return Outcome::Done;
        name = nameOf(source, QStringLiteral("_%1").arg(n));
    }
    return copy(source, name);
}

QString StickDelivery::nameOf(const QString& archive, const QString& suffix) const
{
    return QStringLiteral("QVX_DATAS_%1_%2%3.cvx")
        .arg(m_serial, QFileInfo(archive).completeBaseName(), suffix);
}

StickDelivery::Outcome StickDelivery::copy(const QString& source, const QString& name)
{
    switch (m_usbkey.copyWhole(source, name)) {
    case UsbKeyUtils::Copy::Done:
        qInfo().noquote() << "On the stick:" << source << "as" << name;
        return Outcome::Done;
    case UsbKeyUtils::Copy::NoRoom:
        qInfo().noquote() << "No room on the stick for" << source;
        return Outcome::NoRoom;
    case UsbKeyUtils::Copy::Unreadable:
        qWarning().noquote() << "Cannot be read, so it is not on the stick:" << source;
        return Outcome::Unreadable;
    case UsbKeyUtils::Copy::Failed:
        break;
    }
    qInfo().noquote() << "Not on the stick:" << source;
    return Outcome::Failed;
}

/// From a look that the power cut before it was noted.
bool StickDelivery::isOnStick(const QString& source, const QString& name) const
{
    return m_usbkey.lookUp(name) == UsbKeyUtils::Entry::File &&
           readback::same(source, m_usbkey.pathOf(name));
}
