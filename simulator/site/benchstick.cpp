#include "site/benchstick.h"

#include "common/badinput.h"
#include "site/stickcontent.h"

#include <QFileInfo>

namespace {

const QDir::Filters kAll = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
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

bool holdsText(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.readAll() == text;
}

/// It replaces them, or takes them when they are what they should be.
const QStringList& stationsOwn()
{
    static const QStringList names{
        QStringLiteral("QVX_DATAS.cvx"),       QStringLiteral("backup.zip"),
        QStringLiteral("report.zip"),          QStringLiteral("cmd_gen_report.txt"),
        QStringLiteral(".corvane.new"),        QStringLiteral("cmd_gen_backup.txt"),
        QStringLiteral("cmd_erase_datas.txt"), QStringLiteral("app.zip"),
        QStringLiteral("corvane.zip")};
    return names;
}

} // namespace

BenchStick::BenchStick(const QString& folder, const StickPlan& plan)
    : m_folder(folder)
{
    if (!QDir().mkpath(folder) || !QFile::setPermissions(folder, kUsable))
        throw BadInput(QStringLiteral("cannot make the folder %1").arg(folder));
    fill(plan);
}

void BenchStick::replace(const StickPlan& /*plan*/)
{
    throw BadInput(QStringLiteral("there is only one stick here"));
}

void BenchStick::put(const QString& file)
{
    if (inserted())
        throw BadInput(QStringLiteral("the stick is in the station; pull it first"));
    const QString copy = path(QFileInfo(file).fileName());
    QFile::remove(copy);
    if (!QFile::copy(file, copy))
        throw BadInput(QStringLiteral("cannot copy %1 onto the stick").arg(file));
}

/// The folder itself stays: the station's root has it, wherever its name leads by then.
void BenchStick::beginAnother(const StickPlan& plan)
{
    const QString former = QStringLiteral("%1-%2").arg(m_folder.path()).arg(folders().size());
    if (!QDir().mkdir(former))
        throw BadInput(QStringLiteral("cannot make the folder %1").arg(former));
    m_folder.refresh();
    for (const QString& name : m_folder.entryList(kAll))
        if (!m_folder.rename(name, former + QLatin1Char('/') + name))
            throw BadInput(QStringLiteral("cannot move '%1' to %2").arg(name, former));
    m_former_folders += former;
    m_given_before.insert(former, m_given);
    fill(plan);
}

void BenchStick::fill(const StickPlan& plan)
{
    fillStick(m_folder.path(), plan);
    m_given.clear();
    for (const StickItem& item : plan.items)
        if (item.kind == StickItem::Kind::Text)
            m_given.insert(item.name, item.text.toUtf8());
}

bool BenchStick::keeps(const QString& name) const
{
    return m_given.contains(name) && holdsText(path(name), m_given.value(name));
}

QStringList BenchStick::disturbed() const
{
    QStringList names;
    const auto look = [&names](const QDir& folder, const QHash<QString, QByteArray>& given) {
        for (auto file = given.begin(); file != given.end(); ++file)
            if (!stationsOwn().contains(file.key()) &&
                !holdsText(folder.filePath(file.key()), file.value()))
                names += file.key();
    };
    look(m_folder, m_given);
    for (auto before = m_given_before.begin(); before != m_given_before.end(); ++before)
        look(QDir(before.key()), before.value());
    return names;
}

std::optional<qint64> BenchStick::bytesOf(const QString& name) const
{
    const QFileInfo entry(path(name));
    return entry.isSymLink() || entry.exists() ? entry.size() : kNotThere;
}

QStringList BenchStick::listing(int most) const
{
    const QFileInfoList entries = m_folder.entryInfoList(kAll, QDir::Name);
    QStringList lines;
    for (const QFileInfo& entry : entries.mid(0, most))
        lines += lineOf(entry);
    if (entries.size() > most)
        lines += QStringLiteral("and %1 more").arg(entries.size() - most);
    return lines;
}
