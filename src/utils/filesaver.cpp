#include "utils/filesaver.h"

#include "system/storagefile.h"
#include "utils/ziputils.h"

#include <QDebug>
#include <QFile>

#include <limits>
#include <utility>

namespace {

constexpr int kNameDigits = 10;
const QString kInfosEntry = QStringLiteral("infos.log");
constexpr qint64 kLastNumber = 9999998999;

QString numbered(qint64 number, const QString& extension)
{
    return QStringLiteral("%1").arg(number, kNameDigits, 10, QLatin1Char('0')) + extension;
}

} // namespace

FileSaver::FileSaver(const QString& dir, QString extension, int maxFiles, Predicate mustStay)
    : m_dir(dir)
    , m_file_extension(std::move(extension))
    , m_dir_path(dir)
    , m_max_files(maxFiles)
    , m_must_stay(std::move(mustStay))
{
    storage::makeFolder(dir);
    m_current_file_path = pathOf(getLastFileName());
    cleanLocalBackups();
}

QStringList FileSaver::listFiles() const
{
    return storage::listFiles(m_dir_path).value_or(QStringList());
}

QString FileSaver::getLastFileName() const
{
    const QStringList names = listFiles();
    return names.isEmpty() ? QString() : names.last();
}

bool FileSaver::createNewFile()
{
    cleanLocalBackups();
    const auto names = storage::listFiles(m_dir_path);
    if (!names)
        return false;
    const QString last = names->isEmpty() ? QString() : names->last();
    const QStringList entries = ZipUtils::listFiles(pathOf(last));
    qDebug() << "Last zip files count:" << entries.size();
    // What is current will be made anew: it must hold the information file and no recording, and a
    // foreign archive that sorts last says nothing about it.
    if (pathOf(last) == m_current_file_path && entries == QStringList(kInfosEntry))
        return true;
    m_current_file_path = pathOf(nameAfter(last));
    qDebug().noquote() << "Current zip" << m_current_file_path;
    return true;
}

void FileSaver::cleanLocalBackups()
{
    const QStringList names = listFiles();
    if (names.size() > m_max_files)
        removeOldest(names);
}

void FileSaver::removeOldest(const QStringList& names)
{
    int too_many = names.size() - m_max_files;
    const QStringList earlier = names.mid(0, names.size() - 1); // the last one may be in use
    for (const QString& name : earlier) {
        if (too_many == 0)
            return;
        if (m_must_stay && m_must_stay(name))
            continue;
        qDebug().noquote() << "Removing:" << pathOf(name);
        QFile::remove(pathOf(name));
        --too_many;
    }
    if (too_many > 0)
        qWarning() << "More archives than usual, on no stick yet:" << too_many;
}

QString FileSaver::pathOf(const QString& name) const
{
    return m_dir_path + QLatin1Char('/') + name;
}

QString FileSaver::nameAfter(const QString& last)
{
    // Deliberately the name with its extension, which is no number: only a series of files without
    // an extension ever starts over.
    if (last.toLongLong() > kLastNumber) {
        wipe();
        return numbered(0, m_file_extension);
    }
    // A foreign name that sorts last counts as 0, and so does one that no number can follow: what
    // is there is never replaced.
    const qint64 last_number = last.left(last.size() - m_file_extension.size()).toLongLong();
    qint64 number = last_number < std::numeric_limits<qint64>::max() ? last_number + 1 : 1;
    if (last.isEmpty())
        number = 0;
    while (QFile::exists(pathOf(numbered(number, m_file_extension))))
        ++number;
    return numbered(number, m_file_extension);
}

void FileSaver::wipe()
{
    m_dir.removeRecursively();
    storage::makeFolder(m_dir_path);
}
