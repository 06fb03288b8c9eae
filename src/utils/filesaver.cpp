#include "utils/filesaver.h"

#include "storage/storagefile.h"
#include "utils/ziputils.h"

#include <QDebug>
#include <QFile>

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

FileSaver::FileSaver(const QString& dir, QString extension, int maxFiles)
    : m_dir(dir)
    , m_file_extension(std::move(extension))
    , m_dir_path(dir)
    , m_max_files(maxFiles)
{
    storage::makeFolder(dir);
    m_current_file_path = pathOf(getLastFileName());
    cleanLocalBackups();
}

QStringList FileSaver::listFiles() const
{
    return m_dir.entryList(QDir::Files, QDir::Name);
}

QString FileSaver::getLastFileName() const
{
    const QStringList names = listFiles();
    return names.isEmpty() ? QString() : names.last();
}

QString FileSaver::getLastFilePath() const
{
    const QString last = getLastFileName();
    return last.isEmpty() ? QString() : pathOf(last);
}

void FileSaver::createNewFile()
{
    cleanLocalBackups();
    const QString last = getLastFileName();
    const QStringList entries = ZipUtils::listFiles(pathOf(last));
    qDebug() << "Last zip files count:" << entries.size();
    // What is current will be made anew: it must hold the information file and no recording, and a
    // foreign archive that sorts last says nothing about it.
    if (pathOf(last) == m_current_file_path && entries == QStringList(kInfosEntry))
        return;
    m_current_file_path = pathOf(nameAfter(last));
    qDebug().noquote() << "Current zip" << m_current_file_path;
}

void FileSaver::cleanLocalBackups()
{
    const QStringList names = listFiles();
    for (int i = 0; i < names.size() - m_max_files; ++i) {
        const QString path = pathOf(names.at(i));
        qDebug().noquote() << "Removing:" << path;
        QFile::remove(path);
    }
}

QString FileSaver::pathOf(const QString& name) const
{
    return m_dir_path + QLatin1Char('/') + name;
}

QString FileSaver::nameAfter(const QString& last)
{
    if (last.isEmpty())
        return numbered(0, m_file_extension);
    // Deliberately the name with its extension, which is no number: only a series of files without
    // an extension ever starts over.
    if (last.toLongLong() > kLastNumber) {
        wipe();
        return numbered(0, m_file_extension);
    }
    qint64 number = last.chopped(m_file_extension.size()).toLongLong() + 1;
    // A foreign name that sorts last counts as 0: an archive that is there is never replaced.
    while (QFile::exists(pathOf(numbered(number, m_file_extension))))
        ++number;
    return numbered(number, m_file_extension);
}

void FileSaver::wipe()
{
    m_dir.removeRecursively();
    storage::makeFolder(m_dir_path);
}
