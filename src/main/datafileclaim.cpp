#include "main/datafileclaim.h"

#include "system/storagefile.h"

#include <QFile>

#include <sys/file.h>

#include <cerrno>
#include <fcntl.h>
#include <utility>

DataFileClaim::~DataFileClaim()
{
    release();
}

DataFileClaim::Result DataFileClaim::claim(const QString& path)
{
    if (!m_fd) {
        m_path = path;
        m_fd = UniqueFd(
            ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    }
    if (!m_fd)
        return Result::Impossible;
    if (lock())
        return Result::Held;
    m_fd = UniqueFd(); // the next try looks for a file of that name anew
    return Result::Taken;
}

void DataFileClaim::release()
{
    if (m_fd && lock())
        QFile::remove(m_path);
    m_fd = UniqueFd();
}

void DataFileClaim::yield()
{
    if (m_fd)
        ::flock(m_fd.get(), LOCK_UN);
}

bool DataFileClaim::lock() const
{
    // A lock on a file whose name has gone holds no name.
    return ::flock(m_fd.get(), LOCK_EX | LOCK_NB) == 0 && storage::hasName(m_fd.get());
}
