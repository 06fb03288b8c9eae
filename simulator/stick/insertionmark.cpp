#include "stick/insertionmark.h"

#include <QFile>

#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>

InsertionMark::InsertionMark(const QByteArray& path)
    : m_path(path)
    , m_file(::open(path.constData(), O_RDONLY | O_CLOEXEC))
{
}

StickSettings InsertionMark::settings() const
{
    QFile file;
    if (!m_file || !file.open(m_file.get(), QIODevice::ReadOnly))
        return {};
    return StickSettings::fromBytes(file.readAll());
}

bool InsertionMark::pulled() const
{
    struct stat info = {};
    return !m_file || ::fstat(m_file.get(), &info) != 0 || info.st_nlink == 0;
}

void InsertionMark::pull()
{
    if (!pulled())
        ::unlink(m_path.constData());
    m_file = UniqueFd(); // whatever became of the name
}
