#include "bench/benchstick.h"

#include "bench/badinput.h"
#include "bench/stickcontent.h"

#include <QFileInfo>

namespace {

constexpr QFile::Permissions kUsable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

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

BenchStick::BenchStick(const QString& folder, const StickPlan& plan)
    : m_folder(folder)
{
    if (!QDir().mkpath(folder) || !QFile::setPermissions(folder, kUsable))
        throw BadInput(QStringLiteral("cannot make the folder %1").arg(folder));
    fillStick(folder, plan);
}

std::optional<qint64> BenchStick::bytesOf(const QString& name) const
{
    const QFileInfo entry(path(name));
    return entry.isSymLink() || entry.exists() ? entry.size() : kNotThere;
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
