#include "main/localarchives.h"

#include "system/stationpaths.h"
#include "system/storagefile.h"
#include "utils/ziputils.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

LocalArchives::LocalArchives(std::function<void()> write_infos, int max_archives)
    : m_write_infos(std::move(write_infos))
    , m_saver(stationpaths::kArchives, QStringLiteral(".cvx"), max_archives,
              [this](const QString& name) { return m_owed.contains(name); })
{
}

bool LocalArchives::beginNext()
{
    if (!QFile::exists(stationpaths::kInfos))
        m_write_infos();
    const bool named = m_saver.createNewFile();
    const QString path = m_saver.getCurrentFilePath();
    if (named && ZipUtils::createZip(path, stationpaths::kInfos)) {
        m_current_zip_path = path;
        return true;
    }
    qCritical().noquote() << "No new archive at" << path;
    if (!QFile::exists(m_current_zip_path))
        m_current_zip_path.clear();
    return false;
}

AdditionResult LocalArchives::add(const QString& file_path, quint32 crc32)
{
    AdditionResult result = addToCurrent(file_path, crc32);
    if (result.isTheArchives() && beginNext())
        result = addToCurrent(file_path, crc32);
    return result;
}

AdditionResult LocalArchives::addToCurrent(const QString& file_path, quint32 crc32)
{
    if (!hasCurrent())
        return {AdditionResult::ArchiveUnusable};
    const bool was_owed = m_owed.contains(currentName());
    if (!m_owed.add(currentName()))
        return AdditionResult::of(AdditionResult::Failed);
    const AdditionResult result = ZipUtils::addRecording(m_current_zip_path, file_path, crc32);
    // What was refused is still in its pod: no stick is asked for on its account.
    if (!result.added() && !was_owed)
        setDelivered(currentName());
    return result;
}

bool LocalArchives::owesCurrent() const
{
    return hasCurrent() && m_owed.contains(currentName()) && isThere(currentName());
}

QStringList LocalArchives::owedEarlier() const
{
    QStringList earlier;
    std::copy_if(m_owed.names().cbegin(), m_owed.names().cend(), std::back_inserter(earlier),
                 [this](const QString& name) { return name != currentName() && isThere(name); });
    return earlier;
}

void LocalArchives::forgetErased()
{
    if (const auto names = storage::listFiles(stationpaths::kArchives))
        m_owed.keepOnly(*names);
}

QString LocalArchives::pathOf(const QString& name)
{
    return stationpaths::kArchives + QLatin1Char('/') + name;
}

QString LocalArchives::currentName() const
{
    return QFileInfo(m_current_zip_path).fileName();
}

bool LocalArchives::isThere(const QString& name) const
{
    return QFileInfo(pathOf(name)).isFile();
}
