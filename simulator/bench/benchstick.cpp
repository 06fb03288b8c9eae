#include "bench/benchstick.h"

#include "bench/badinput.h"
#include "bench/stickcontent.h"

#include <QFileInfo>
#include <QSaveFile>

namespace {

constexpr QFile::Permissions kUsable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
const QString kMark = QStringLiteral("stick-inserted");
const QString kLog = QStringLiteral("stick.log");

/// Names are data and may hold anything; a line stays a line.
QString shown(QString name)
{
    for (QChar& letter : name)
        if (!letter.isPrint())
            letter = QLatin1Char('?');
    return name;
}

QString lineOf(const QFileInfo& entry)
{
    if (entry.isSymLink())
        return QStringLiteral("%1  link").arg(shown(entry.fileName()));
    if (entry.isDir())
        return QStringLiteral("%1  folder").arg(shown(entry.fileName()));
    return QStringLiteral("%1  %2 bytes").arg(shown(entry.fileName())).arg(entry.size());
}

} // namespace

BenchStick::BenchStick(const QString& folder, const QString& control_folder, const StickPlan& plan)
    : m_folder(folder)
    , m_control(control_folder)
    , m_settings(plan.settings)
{
    if (!QDir().mkpath(folder) || !QFile::setPermissions(folder, kUsable))
        throw BadInput(QStringLiteral("cannot make the folder %1").arg(folder));
    fillStick(folder, plan);
    for (const StickItem& item : plan.items)
        if (item.kind == StickItem::Kind::Unreadable)
            m_settings.unreadable += item.name;
}

bool BenchStick::inserted() const
{
    return QFile::exists(m_control.filePath(kMark));
}

void BenchStick::setInserted(bool inserted)
{
    if (!inserted) {
        QFile::remove(m_control.filePath(kMark));
        return;
    }
    QSaveFile mark(m_control.filePath(kMark)); // whole from its first moment
    if (!mark.open(QIODevice::WriteOnly) || mark.write(m_settings.toText()) < 0 || !mark.commit())
        throw BadInput(
            QStringLiteral("cannot write %1: %2").arg(mark.fileName(), mark.errorString()));
    m_settings.pull_at_byte = 0;
}

bool BenchStick::holds(const QString& name) const
{
    const QFileInfo entry(path(name));
    return entry.isSymLink() || entry.exists();
}

qint64 BenchStick::bytesOf(const QString& name) const
{
    return holds(name) ? QFileInfo(path(name)).size() : -1;
}

QStringList BenchStick::listing(int most) const
{
    const QFileInfoList entries = m_folder.entryInfoList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    QStringList lines;
    for (const QFileInfo& entry : entries.mid(0, most))
        lines += lineOf(entry);
    if (entries.size() > most)
        lines += QStringLiteral("and %1 more").arg(entries.size() - most);
    return lines;
}

QStringList BenchStick::complaints() const
{
    QFile log(m_control.filePath(kLog));
    if (!log.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(log.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
