#include "archive/owedarchives.h"

#include "system/checksum.h"
#include "system/readback.h"
#include "system/stationpaths.h"
#include "system/storagefile.h"

#include <QDebug>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <optional>

namespace {

const QString kDraft = QStringLiteral(".owed.new");

QByteArray checksumLine(const QByteArray& lines)
{
    Checksum checksum;
    checksum.add(lines);
    return QByteArray::number(checksum.value(), 16).rightJustified(8, '0') + '\n';
}

QByteArray encoded(const QStringList& names)
{
    QByteArray lines;
    for (const QString& name : names)
        lines += name.toUtf8() + '\n';
    return checksumLine(lines) + lines;
}

std::optional<QStringList> decoded(const QByteArray& text)
{
    const int lines_at = text.indexOf('\n') + 1;
    const QByteArray lines = text.mid(lines_at);
    if (text.left(lines_at) != checksumLine(lines))
        return std::nullopt;
    return QString::fromUtf8(lines).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

/// Nothing when there is a file that says nothing.
std::optional<QStringList> loaded()
{
    const UniqueFd fd = storage::openRegular(stationpaths::kOwed, O_RDONLY);
    if (!fd)
        return errno == ENOENT ? std::make_optional(QStringList()) : std::nullopt;
    const auto text = storage::readRange(fd.get(), 0, storage::sizeOf(fd.get()));
    return text ? decoded(*text) : std::nullopt;
}

bool save(const QStringList& names)
{
    const QByteArray text = encoded(names);
    QFile::remove(kDraft);
    const UniqueFd fd = storage::createNew(kDraft);
    return fd && storage::writeAll(fd.get(), text.constData(), text.size()) &&
           storage::syncFile(fd.get()) && readback::holds(fd.get(), 0, text) &&
           storage::replaceFile(kDraft, stationpaths::kOwed);
}

} // namespace

OwedArchives::OwedArchives()
{
    const auto names = loaded();
    if (!names)
        qCritical() << "What no stick has yet cannot be read: every archive counts as owed";
    m_names = names ? *names : storage::listFiles(stationpaths::kArchives).value_or(QStringList());
    m_names.sort();
}

bool OwedArchives::add(const QString& name)
{
    if (contains(name))
        return true;
    QStringList names = m_names;
    names.insert(std::lower_bound(names.begin(), names.end(), name), name);
    if (!save(names))
        return false;
    m_names = names;
    return true;
}

void OwedArchives::remove(const QStringList& names)
{
    QStringList left = m_names;
    for (const QString& name : names)
        left.removeAll(name);
    if (left.size() == m_names.size())
        return;
    m_names = left;
    if (!save(left))
        qInfo() << "After a restart these are owed again:" << names;
}

void OwedArchives::keepOnly(const QStringList& names)
{
    QStringList gone = m_names;
    for (const QString& name : names)
        gone.removeAll(name);
    remove(gone);
}
